#include <algorithm>
#include <limits>

#include <sys/stat.h>

#include "cardScan.h"

namespace sim
{

namespace fs = std::filesystem;

namespace
{

bool isDigits(std::string_view text)
{
    return std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
}

template <class Number>
uint32_t clampTo32(Number value)
{
    constexpr Number most = std::numeric_limits<uint32_t>::max();
    return static_cast<uint32_t>(std::clamp<Number>(value, 0, most));
}

// A media file with what its name and its `stat` tell, and the picture format that files of its kind mostly have.
MediaFile mediaFile(const std::string &dir, const std::string &name, const struct stat &status)
{
    MediaFile file;
    file.dir = dir;
    file.name = name;
    file.size = static_cast<uint64_t>(status.st_size);
    file.modificationTime = file.creationTime = clampTo32<int64_t>(status.st_mtime);
    if (name.ends_with(".MP4")) {
        file.width = 1920;
        file.height = 1080;
        file.rateNumerator = 30000;
        file.rateDenominator = 1001;
        file.isProgressive = 1;
        file.avcLevel = 42;
        file.avcProfile = 100;
    } else if (name.ends_with(".JPG")) {
        file.width = 4000;
        file.height = 3000;
    }
    return file;
}

void scanFolder(const fs::path &folder, CardFiles &files)
{
    const std::string dir = folder.filename();
    std::map<std::string, uint64_t> lrvSizes; // by path of the video
    std::error_code error;
    for (fs::directory_iterator at(folder, error), end; !error && at != end; at.increment(error)) {
        const std::string name = at->path().filename();
        struct stat status;
        if (!isMediaName(name) || stat(at->path().c_str(), &status) != 0 || !S_ISREG(status.st_mode)) {
            continue;
        }
        if (name.ends_with(".LRV")) {
            lrvSizes[std::string(dir).append("/").append(name, 0, 8).append(".MP4")] =
                static_cast<uint64_t>(status.st_size);
        } else {
            MediaFile file = mediaFile(dir, name, status);
            files[file.path()] = std::move(file);
        }
    }
    for (const auto &[path, size] : lrvSizes) {
        if (const auto video = files.find(path); video != files.end()) {
            video->second.lrvSize = clampTo32(size);
        }
    }
}

} // namespace

bool isMediaFolder(std::string_view name)
{
    if (name.size() != DB_DIR_NAME_BYTES || name[0] == '0' || !isDigits(name.substr(0, 3))) {
        return false;
    }
    const std::string_view kind = name.substr(3);
    return kind == "MOXEL" || kind == "M3D_R" || kind == "M3D_L";
}

bool isMediaName(std::string_view name)
{
    if (name.size() != DB_FILE_NAME_BYTES || !isDigits(name.substr(4, 4))) {
        return false;
    }
    const std::string_view extension = name.substr(8);
    return extension == ".MP4" || extension == ".JPG" || extension == ".LRV" || extension == ".MET";
}

bool isMediaPath(std::string_view path)
{
    return path.size() == DB_DIR_NAME_BYTES + 1 + DB_FILE_NAME_BYTES && path[DB_DIR_NAME_BYTES] == '/' &&
           isMediaFolder(path.substr(0, DB_DIR_NAME_BYTES)) && isMediaName(path.substr(DB_DIR_NAME_BYTES + 1)) &&
           !path.ends_with(".LRV");
}

CardFiles scanCard(const fs::path &card)
{
    CardFiles files;
    std::error_code error;
    for (fs::directory_iterator at(card / "DCIM", error), end; !error && at != end; at.increment(error)) {
        if (isMediaFolder(at->path().filename().native())) {
            scanFolder(at->path(), files);
        }
    }
    return files;
}

} // namespace sim
