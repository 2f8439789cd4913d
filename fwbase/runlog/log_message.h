// The queue's messages: one record packed into a block, and the stop message.
#ifndef FWBASE_RUNLOG_LOG_MESSAGE_H
#define FWBASE_RUNLOG_LOG_MESSAGE_H

#include <optional>

#include "fwbase/runlog/log_record.h"
#include "fwbase/support/message_block.h"

namespace fwbase {

using support::MessagePtr;

/// A data message that holds a copy of the record. Null without memory; errno is ENOMEM then.
MessagePtr pack_record(const LogRecord& record);

/// The record in a message; its texts point into the message. Whether it holds a time is not
/// stored: the reader says. Nothing when the bytes are no record.
std::optional<LogRecord> unpack_record(const ACE_Message_Block& message, bool with_time);

/// The stop message: of kind hang-up, without content. Null without memory; errno is ENOMEM then.
MessagePtr shut_down_message();

}  // namespace fwbase

#endif
