/**
 * @file uniqueFd.h
 * A file descriptor that closes itself.
 */
#ifndef UNIQUE_FD_H
#define UNIQUE_FD_H

#include <utility>

#include <unistd.h>

namespace sim
{

/** Owner of one file descriptor; -1 while it has none. Moves, never copies. */
class UniqueFd
{
  public:
    explicit UniqueFd(int fd = -1) : fd_(fd) {}
    UniqueFd(UniqueFd &&other) noexcept : fd_(std::exchange(other.fd_, -1)) {}
    UniqueFd &operator=(UniqueFd &&other) noexcept
    {
        std::swap(fd_, other.fd_);
        return *this;
    }
    ~UniqueFd()
    {
        if (fd_ >= 0) {
            close(fd_);
        }
    }
    int get() const
    {
        return fd_;
    }
    explicit operator bool() const
    {
        return fd_ >= 0;
    }

  private:
    int fd_;
};

} // namespace sim

#endif
