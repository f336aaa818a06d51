#pragma once

// The bus counters, readable from outside while the process runs.

/// The events counted. The numbers are read by other programs: never renumber. "RX" counts messages received and turned
/// into a record (or not), "TX" messages written to their channel (or not).
enum QMXBCounter_e : int {
  QMXB_API_RX_COMMON_ERR = 0, ///< received message without a record, or with common members that cannot be used
  QMXB_API_REG_READ_REQ_RX_OK = 47,
  QMXB_API_REG_READ_REQ_RX_ERR = 48,
  QMXB_API_REG_READ_RSP_TX_OK = 49,
  QMXB_API_REG_READ_RSP_TX_ERR = 50,
  QMXB_API_REG_READ_RSP_RX_OK = 51,
  QMXB_API_REG_READ_RSP_RX_ERR = 52,
  QMXB_API_TAG_READ_REQ_RX_OK = 55,
  QMXB_API_TAG_READ_REQ_RX_ERR = 56,
  QMXB_API_TAG_READ_RSP_RX_OK = 59,
  QMXB_API_TAG_READ_RSP_RX_ERR = 60,
  QMXB_API_DESC_READ_REQ_RX_OK = 63,
  QMXB_API_DESC_READ_REQ_RX_ERR = 64,
  QMXB_API_DESC_READ_RSP_RX_OK = 67,
  QMXB_API_DESC_READ_RSP_RX_ERR = 68,
  QMXB_API_REG_WRITE_REQ_TX_OK = 69,
  QMXB_API_REG_WRITE_REQ_TX_ERR = 70,
  QMXB_API_REG_WRITE_REQ_RX_OK = 71,
  QMXB_API_REG_WRITE_REQ_RX_ERR = 72,
  QMXB_API_REG_WRITE_RSP_RX_OK = 75,
  QMXB_API_REG_WRITE_RSP_RX_ERR = 76
};

/// Adds 1 to a counter. Must not throw: events are also counted while an exception passes.
void IncrQMXBCnt(QMXBCounter_e counter);
