/**
 * @file message.h
 * A message under construction, bounded by what the wire carries; and an answer that needs no database.
 */
#ifndef MESSAGE_H
#define MESSAGE_H

#include <algorithm>
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

/** A message of at most DB_MESSAGE_MAX_BYTES bytes, unless it is made too long on purpose. */
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
        if (size_ > DB_MESSAGE_MAX_BYTES || more.size() > DB_MESSAGE_MAX_BYTES - size_) {
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
    /** Goes on with zeros to one byte more than a message may have. */
    void overfill()
    {
        std::fill(bytes_.begin() + static_cast<std::ptrdiff_t>(size_), bytes_.end(), uint8_t{0});
        size_ = bytes_.size();
    }

  private:
    std::array<uint8_t, DB_MESSAGE_MAX_BYTES + 1> bytes_{};
    size_t size_ = 0;
};

/** An answer without a body: command and token of the request, as far as it has them, and a status. */
Message plainAnswer(Bytes request, uint32_t status);

} // namespace sim

#endif
