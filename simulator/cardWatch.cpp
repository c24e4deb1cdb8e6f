#include <cstring>
#include <iostream>
#include <system_error>

#include <sys/inotify.h>

#include "cardScan.h"
#include "cardWatch.h"

namespace sim
{

namespace fs = std::filesystem;

CardWatch::CardWatch(fs::path card) : card_(std::move(card)), fd_(inotify_init1(IN_NONBLOCK | IN_CLOEXEC))
{
    if (!fd_) {
        throw std::system_error(errno, std::generic_category(), "inotify");
    }
}

int CardWatch::watch(const fs::path &folder)
{
    const int result = inotify_add_watch(fd_.get(), folder.c_str(),
                                         IN_ATTRIB | IN_CLOSE_WRITE | IN_CREATE | IN_DELETE | IN_DELETE_SELF |
                                             IN_MODIFY | IN_MOVE | IN_MOVE_SELF | IN_ONLYDIR);
    if (result < 0 && errno != ENOENT && errno != ENOTDIR) {
        std::cerr << "rtosMediaDBSim: " << folder.string() << ": changes stay unseen: " << strerror(errno) << '\n';
    }
    return result;
}

void CardWatch::arm()
{
    root_ = watch(card_);
    watch(card_ / "DCIM");
    std::error_code error;
    for (fs::directory_iterator at(card_ / "DCIM", error), end; !error && at != end; at.increment(error)) {
        if (isMediaFolder(at->path().filename().native())) {
            watch(at->path());
        }
    }
}

bool CardWatch::news()
{
    alignas(inotify_event) char buffer[16384];
    bool any = root_ < 0;
    for (ssize_t size; (size = read(fd_.get(), buffer, sizeof buffer)) > 0;) {
        for (const char *pAt = buffer; pAt < buffer + size;) {
            const auto *pEvent = reinterpret_cast<const inotify_event *>(pAt);
            const std::string_view name = pEvent->len == 0 ? "" : pEvent->name;
            const bool gone = (pEvent->mask & (IN_DELETE_SELF | IN_MOVE_SELF | IN_IGNORED)) != 0;
            any = any || pEvent->wd != root_ || gone || name == "DCIM" || name == "catalogue.json";
            pAt += sizeof *pEvent + pEvent->len;
        }
    }
    return any;
}

} // namespace sim
