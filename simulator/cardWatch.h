/**
 * @file cardWatch.h
 * Notices when something changes on the card that a catalogue is made of.
 */
#ifndef CARD_WATCH_H
#define CARD_WATCH_H

#include <filesystem>

#include "uniqueFd.h"

namespace sim
{

/** Watches the card's root, "DCIM" and its media folders. */
class CardWatch
{
  public:
    /** @throws std::system_error when the system gives no watch */
    explicit CardWatch(std::filesystem::path card);

    /** Descriptor that is readable while there is news. */
    int fd() const
    {
        return fd_.get();
    }
    /** Watches what is there now. To be called before the card is read, so that no change falls in between. */
    void arm();
    /** Takes all news. True: the catalogue may have to change. */
    bool news();

  private:
    int watch(const std::filesystem::path &folder);

    std::filesystem::path card_;
    UniqueFd fd_;
    int root_ = -1; ///< the root's watch, of whose news only two names matter; -1 while the card is gone
};

} // namespace sim

#endif
