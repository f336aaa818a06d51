#pragma once

namespace ovk::local {

/// The descriptor that is readable while one of those watched is; made at the first call, -1 when that fails.
int waitDescriptor();

/// Both need not be undone when the descriptor is closed for good.
bool watch(int descriptor);
void unwatch(int descriptor);

} // namespace ovk::local
