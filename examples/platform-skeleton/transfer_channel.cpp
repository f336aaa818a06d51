#include "platform/transfer_channel.h"

// Opens a channel. Called for both channels of a service by each of its registrations, so up to eight times an index:
// an open channel is a success. A negative result makes the registration fail with status 8.
int createTransferChannel(int /*index*/, int /*role*/) { return -1; }

// Takes the next message off the channel and copies it into the buffer, without a NUL and with nothing behind it: the
// buffer is zero and must stay so. Returns the message's length, 0 or less when there is none; it never waits. Of a
// message longer than `size` it copies `size` bytes and returns the whole length, upon which the library drops it.
// Messages come whole and, from one sender, in the order in which they were sent. Called by each ovk_DoWork(), channel
// 1 before channel 2, until there is nothing left; also for a channel that was never opened or is closed, and from a
// callback that calls ovk_DoWork() itself.
int readTransferChannel(int /*index*/, void* /*buffer*/, unsigned /*size*/) { return 0; }

// Hands a message over: `size` bytes without a NUL, not to be touched after the return. Channel 0 carries requests to
// channel 2 of the controller in "dst.at", channel 3 answers to channel 1 of the controller where "dst.fid" is reached;
// the own controller is one of them. Returns 0 when the message is on its way, otherwise the application gets status 7.
// It never waits: a full channel is a failure, and so is a channel that is not open, or a message that is too long.
int writeTransferChannel(int /*index*/, const void* /*message*/, unsigned /*size*/) { return -1; }

// Closes a channel and drops what is unread in it. Called by ovk_QMXBusShutdown() for each of the four, open or not;
// after that it may be opened again. The result is not looked at.
int destroyTransferChannel(int /*index*/) { return 0; }
