#pragma once

// The transfer channel service: numbered channels that keep message boundaries and order.

/// Channel numbers, known to every controller on the bus: never renumber.
enum TransferChannelIndex : int {
  IPC_TC_QMX_CLIENT_REQ_IDX = 0, ///< written: requests of this controller
  IPC_TC_QMX_CLIENT_RSP_IDX = 1, ///< read: responses to them
  IPC_TC_QMX_SERVER_REQ_IDX = 2, ///< read: requests to this controller
  IPC_TC_QMX_SERVER_RSP_IDX = 3  ///< written: responses to them
};

/// What the library does with a channel.
enum TransferChannelRole : int { transferChannelWritten = 1, transferChannelRead = 2 };

/// Opens a channel. Called again for an index that exists already, it succeeds again.
/// @return negative when the channel could not be created.
int createTransferChannel(int index, int role);

/// Copies the next message of the channel into the buffer and writes nothing behind it; never waits.
/// @return its length in bytes; 0 or negative when there is none.
int readTransferChannel(int index, void* buffer, unsigned size);

/// Hands one message over; never waits.
/// @return 0 when the message is on its way, anything else when it is not.
int writeTransferChannel(int index, const void* message, unsigned size);

/// Closes a channel, created or not.
int destroyTransferChannel(int index);
