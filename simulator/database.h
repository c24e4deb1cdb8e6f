/**
 * @file database.h
 * The database: a card, its catalogue, and the answers to requests.
 */
#ifndef DATABASE_H
#define DATABASE_H

#include "cardWatch.h"
#include "catalogue.h"
#include "message.h"
#include "uploadStore.h"

namespace sim
{

/** The catalogue of one card, kept up to date, with the upload statuses that were set. */
class Database
{
  public:
    /**
     * Reads the card.
     * @throws std::exception when the card is not there, or what it says of itself can't be used
     */
    explicit Database(const std::filesystem::path &card);

    /**
     * Answer to a request of any bytes. A file or GUMI that is not in the catalogue gives status 4, or `content_type`
     * -1 among several files; a request that breaks the rules of the wire, or sets a status above 30, gives status 5.
     * The first file stands for its item; any other file of a group stands for itself, but shares GUMI, group record
     * and upload status of the item. The answer to `DB_COMMAND_VIDEO_SPECIFIC_INFO` is always about the file itself.
     */
    Message answer(Bytes request);

    /** Descriptor that is readable while there is news of the card. */
    int watchFd() const
    {
        return watch_.fd();
    }
    /** Takes the news of the card. True: the catalogue is out of date. */
    bool isOutdated();
    /**
     * Makes the catalogue anew when it is out of date. When that fails the old one stays, and standard error says why,
     * once for each reason.
     */
    void refresh();

    Catalogue &catalogue()
    {
        return catalogue_;
    }
    UploadStore &uploads()
    {
        return uploads_;
    }

  private:
    void rebuild();

    std::filesystem::path card_;
    UploadStore uploads_;
    CardWatch watch_;
    Catalogue catalogue_;
    bool outdated_ = false;
    std::string acceptedText_; ///< of catalogue.json; what it says of a file that leaves the card later is no error
    std::string lastError_;
};

} // namespace sim

#endif
