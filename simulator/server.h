/**
 * @file server.h
 * Serves a database, or a recording of one, over a local socket whose messages have borders: one answer for each
 * request.
 */
#ifndef SERVER_H
#define SERVER_H

#include <list>
#include <stdexcept>

#include <poll.h>

#include "database.h"
#include "faults.h"
#include "uniqueFd.h"

namespace sim
{

/** Another database serves the channel. */
struct ChannelTaken : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/** The end of a channel at which clients connect. Its socket file goes when the object does. */
class Channel
{
  public:
    /**
     * Opens the channel; a socket file that nobody serves any more is replaced.
     * @throws ChannelTaken, std::system_error
     */
    explicit Channel(const std::string &path);
    ~Channel();
    Channel(const Channel &) = delete;
    Channel &operator=(const Channel &) = delete;

    int fd() const
    {
        return listener_.get();
    }

  private:
    std::string path_;
    UniqueFd lock_; ///< on the socket's folder, held for as long as the channel is served
    UniqueFd listener_;
};

/** One thread, any number of clients, none of which waits for another. */
class Server
{
  public:
    /** Serves a database, which is kept up to date. */
    Server(const Channel &channel, Database &database, Faults faults);
    /** Serves whatever answers. */
    Server(const Channel &channel, Answer answer, Faults faults);
    /** Serves until a descriptor becomes readable; a database that has fallen silent waits for it, too. */
    void run(int stopFd);

  private:
    using Clock = std::chrono::steady_clock;
    /** Waits for more changes of the card, so that many in a row cost one catalogue; and for free descriptors. */
    static constexpr std::chrono::milliseconds pauseTime{100};
    struct Client {
        UniqueFd fd;
        std::optional<Delivery> answer; ///< one that has not gone yet; until it has, no further request is read
        Clock::time_point due;          ///< when it may go
        bool gone = false;
    };

    int timeout(Clock::time_point now) const;
    void acceptClients();
    void serve(Client &client, short events);
    void receive(Client &client);
    void send(Client &client);
    void breakDown();

    const Channel &channel_;
    Database *pDatabase_ = nullptr; ///< whose card is watched, if there is one
    Answer answer_;
    Faults faults_;
    bool silent_ = false; ///< for good
    std::list<Client> clients_;
    std::optional<Clock::time_point> refreshAt_; ///< when the catalogue is brought up to date, if nobody asks before
    std::optional<Clock::time_point> acceptAt_;  ///< when accepting goes on after it ran out of descriptors
};

} // namespace sim

#endif
