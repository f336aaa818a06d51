// The record table. Each row is made from typed functions and fields by one template, the only place where a record is
// taken out of an untyped pointer.

#include "callback/record_table.h"

#include <iterator>
#include <type_traits>

#include "core/catalogue.h"
#include "core/text.h"
#include "devinfo/devinfo_callback_data.h"
#include "ovk/records.h"
#include "register/register_callback_data.h"
#include "tag/tag_callback_data.h"

namespace ovk {

namespace {

template <typename Record>
using Extractor = int (*)(const char* msg, unsigned msgLen, Record* record);

template <typename Record, Extractor<Record> extractor, auto... blockFields>
struct Row {
  static void fillHeader(const CommonMembers& members, void* data) {
    auto& record = *static_cast<Record*>(data);
    copyHeader(members, record);
    if constexpr (isResponse<Record>) {
      record.success = members.success;
      copyText(record.errReason, members.errReason);
    }
  }
  static int extract(const char* msg, unsigned msgLen, void* data) {
    return extractor(msg, msgLen, static_cast<Record*>(data));
  }
  static OwnedBlocks blocks(const void* data) {
    [[maybe_unused]] const auto& record = *static_cast<const Record*>(data);
    return {record.*blockFields...};
  }
  static void setBlocks(void* data, const OwnedBlocks& blocks) {
    [[maybe_unused]] auto& record = *static_cast<Record*>(data);
    [[maybe_unused]] auto block = blocks.begin();
    ((record.*blockFields = static_cast<std::remove_reference_t<decltype(record.*blockFields)>>(*block++)), ...);
  }
};

template <typename Record, Extractor<Record> extractor, auto... blockFields>
constexpr RecordRow row(QMXBCounter_e filled, QMXBCounter_e notFilled, const char* tracedBlock = nullptr) {
  using R = Row<Record, extractor, blockFields...>;
  return {sizeof(Record), R::fillHeader, R::extract, R::blocks, R::setBlocks, tracedBlock, filled, notFilled};
}

constexpr RecordRow rows[] = {
    row<ovk_DescriptorReadRspCallbackData_t, getDescriptorReadRspCallbackData,
        &ovk_DescriptorReadRspCallbackData_t::pTagRegBlocks, &ovk_DescriptorReadRspCallbackData_t::pResRegBlocks>(
        QMXB_API_DESC_READ_RSP_RX_OK, QMXB_API_DESC_READ_RSP_RX_ERR),
    row<ovk_DescriptorReadReqCallbackData_t, getDescriptorReadReqCallbackData>(QMXB_API_DESC_READ_REQ_RX_OK,
                                                                               QMXB_API_DESC_READ_REQ_RX_ERR),
    row<ovk_TagReadRspCallbackData_t, getTagReadRspCallbackData, &ovk_TagReadRspCallbackData_t::pTagItems>(
        QMXB_API_TAG_READ_RSP_RX_OK, QMXB_API_TAG_READ_RSP_RX_ERR, "pTagReadRspCallbackData->pTagItems"),
    row<ovk_TagReadReqCallbackData_t, getTagReadReqCallbackData, &ovk_TagReadReqCallbackData_t::pTags>(
        QMXB_API_TAG_READ_REQ_RX_OK, QMXB_API_TAG_READ_REQ_RX_ERR, "pTagReadReqCallbackData->pTags"),
    row<ovk_RegisterReadRspCallbackData_t, getRegisterReadRspCallbackData,
        &ovk_RegisterReadRspCallbackData_t::pStartRegister1, &ovk_RegisterReadRspCallbackData_t::pStartRegister2>(
        QMXB_API_REG_READ_RSP_RX_OK, QMXB_API_REG_READ_RSP_RX_ERR),
    row<ovk_RegisterReadReqCallbackData_t, getRegisterReadReqCallbackData>(QMXB_API_REG_READ_REQ_RX_OK,
                                                                           QMXB_API_REG_READ_REQ_RX_ERR),
    row<ovk_RegisterWriteRspCallbackData_t, getRegisterWriteRspCallbackData>(QMXB_API_REG_WRITE_RSP_RX_OK,
                                                                             QMXB_API_REG_WRITE_RSP_RX_ERR),
    row<ovk_RegisterWriteReqCallbackData_t, getRegisterWriteReqCallbackData,
        &ovk_RegisterWriteReqCallbackData_t::pStartRegister1, &ovk_RegisterWriteReqCallbackData_t::pStartRegister2>(
        QMXB_API_REG_WRITE_REQ_RX_OK, QMXB_API_REG_WRITE_REQ_RX_ERR),
};
static_assert(std::size(rows) == serviceCount);

} // namespace

const RecordRow* recordRowOf(ovk_Service_t service) { return isService(service) ? &rows[service] : nullptr; }

} // namespace ovk
