// The process's own identifier.

#include "platform/local/bus/own_identity.h"

#include "platform/local/lasting.h"

namespace ovk::local {

namespace {
Lasting<std::string> identifier;
[[gnu::destructor]] void endIdentifier() { identifier.end(); }
} // namespace

std::string& ownFid() { return identifier.get(); }

} // namespace ovk::local
