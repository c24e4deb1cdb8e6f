/**
 * @file message.h
 * A message under construction, bounded by what the wire carries.
 */
#ifndef MESSAGE_H
#define MESSAGE_H

#include <array>
#include <cstdint>
#include <cstring>
#include <span>

#include "mxMediaRTOSDB.h"

namespace sim
{

using Bytes = std::span<const uint8_t>;

/** The bytes of one record. */
template <class Record>
Bytes bytesOf(const Record &record)
{
    return {reinterpret_cast<const uint8_t *>(&record), sizeof record};
}

/** A message of at most DB_MESSAGE_MAX_BYTES bytes. */
class Message
{
  public:
    size_t size() const
    {
        return size_;
    }
    Bytes bytes() const
    {
        return {bytes_.data(), size_};
    }
    /** The same bytes, to be changed in place. */
    std::span<uint8_t> writableBytes()
    {
        return {bytes_.data(), size_};
    }
    /** Appends bytes. False: there is no room for all of them, and the message is as it was. */
    bool append(Bytes more)
    {
        if (more.size() > bytes_.size() - size_) {
            return false;
        }
        if (!more.empty()) {
            memcpy(bytes_.data() + size_, more.data(), more.size());
        }
        size_ += more.size();
        return true;
    }
    /** Appends a record, as append does. */
    template <class Record>
    bool appendRecord(const Record &record)
    {
        return append(bytesOf(record));
    }
    /** Writes a record over the message's first bytes, which must be there. */
    template <class Record>
    void replaceHead(const Record &record)
    {
        memcpy(bytes_.data(), &record, sizeof record);
    }
    /** Cuts the message back to a size that it had. */
    void cut(size_t size)
    {
        size_ = size;
    }

  private:
    std::array<uint8_t, DB_MESSAGE_MAX_BYTES> bytes_{};
    size_t size_ = 0;
};

} // namespace sim

#endif
