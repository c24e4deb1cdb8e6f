/**
 * @file uploadStore.h
 * The upload statuses that were set, kept on the card.
 */
#ifndef UPLOAD_STORE_H
#define UPLOAD_STORE_H

#include <filesystem>
#include <optional>
#include <string>
#include <unordered_map>

namespace sim
{

/**
 * Upload statuses by path of an item's first file, in the file "MISC/upload_status" of the card. Each record of it is
 * 25 bytes: two digits, a blank, the path of 21 characters, a line feed. The last record of a path holds.
 */
class UploadStore
{
  public:
    /**
     * Reads the file, when there is one, drops a last record that was not written whole, and records that others
     * replaced.
     * @throws std::runtime_error for a file that can't be read or holds something else
     */
    explicit UploadStore(const std::filesystem::path &card);

    /** Status that was set for a path, if any was. */
    std::optional<uint32_t> status(const std::string &path) const;

    /**
     * Sets a status, and writes it before it returns.
     * @return false: it can't be written; the status is as before
     */
    bool set(const std::string &path, uint32_t status);

  private:
    std::filesystem::path file_;
    std::unordered_map<std::string, uint32_t> statuses_;
};

} // namespace sim

#endif
