#include <cstdio>
#include <fstream>
#include <iterator>
#include <stdexcept>

#include <fcntl.h>

#include "cardScan.h"
#include "uniqueFd.h"
#include "uploadStore.h"

namespace sim
{

namespace fs = std::filesystem;

namespace
{

constexpr size_t recordBytes = 25;

std::string recordOf(const std::string &path, uint32_t status)
{
    char digits[4];
    snprintf(digits, sizeof digits, "%02u ", status % 100);
    return digits + path + '\n';
}

} // namespace

UploadStore::UploadStore(const fs::path &card) : file_(card / "MISC" / "upload_status")
{
    if (!fs::exists(file_)) {
        return;
    }
    std::ifstream in(file_, std::ios::binary);
    if (!in) {
        throw std::runtime_error(file_.string() + ": can't be read");
    }
    const std::string text((std::istreambuf_iterator<char>(in)), {});
    for (size_t at = 0; at + recordBytes <= text.size(); at += recordBytes) {
        const std::string path = text.substr(at + 3, recordBytes - 4);
        const uint32_t status = static_cast<uint32_t>(text[at] - '0') * 10 + static_cast<uint32_t>(text[at + 1] - '0');
        if (status >= UPLOAD_STATUS_HISTOGRAM_SIZE - 1 || !isMediaPath(path) ||
            recordOf(path, status) != text.substr(at, recordBytes)) {
            throw std::runtime_error(file_.string() + ": no record of an upload status at byte " + std::to_string(at));
        }
        statuses_[path] = status;
    }
    if (text.size() == statuses_.size() * recordBytes) {
        return;
    }
    const fs::path fresh = file_.string() + ".new";
    std::ofstream out(fresh, std::ios::binary);
    for (const auto &[path, status] : statuses_) {
        out << recordOf(path, status);
    }
    out.close();
    if (!out) {
        throw std::runtime_error(fresh.string() + ": can't be written");
    }
    fs::rename(fresh, file_);
}

std::optional<uint32_t> UploadStore::status(const std::string &path) const
{
    const auto found = statuses_.find(path);
    return found == statuses_.end() ? std::nullopt : std::optional(found->second);
}

bool UploadStore::set(const std::string &path, uint32_t status)
{
    std::error_code ignored;
    fs::create_directories(file_.parent_path(), ignored);
    const UniqueFd fd(open(file_.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0644));
    const std::string record = recordOf(path, status);
    const off_t end = lseek(fd.get(), 0, SEEK_END);
    const ssize_t written = write(fd.get(), record.data(), record.size());
    if (end < 0 || written != static_cast<ssize_t>(record.size())) {
        if (end >= 0 && written > 0 && ftruncate(fd.get(), end) != 0) {
            perror("MISC/upload_status");
        }
        return false;
    }
    statuses_[path] = status;
    return true;
}

} // namespace sim
