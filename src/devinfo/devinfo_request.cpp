// The client side of device information. The request has no parameters: its "data" is an empty array.

#include "core/registry.h"
#include "message/envelope.h"
#include "ovk/ovk.h"

unsigned int ovk_ReadDeviceInfo(const char* dstFid, const char* refId) {
  if (!ovk::canReceiveAnswer(__func__, ovk_Service_DescriptorReadClient)) return ovk_Status_NoCallback;
  return ovk_build_and_transfer_message(ovk_Service_DescriptorReadClient, dstFid, ovk::ownParticipant, refId, false,
                                        false, nullptr, Json(Json::Kind::array));
}
