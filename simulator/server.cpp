#include <algorithm>
#include <cerrno>
#include <csignal>
#include <filesystem>
#include <system_error>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/un.h>

#include "server.h"

namespace sim
{

Channel::Channel(const std::string &path) : path_(path)
{
    const auto require = [&path](bool good) {
        if (!good) {
            throw std::system_error(errno, std::generic_category(), path);
        }
    };
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof address.sun_path) {
        errno = ENAMETOOLONG;
        require(false);
    }
    path.copy(address.sun_path, path.size());
    const auto *pAddress = reinterpret_cast<const sockaddr *>(&address);
    const auto makeSocket = [] { return UniqueFd(socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC | SOCK_NONBLOCK, 0)); };

    // The lock keeps two simulators that start at once from taking the socket from each other.
    lock_ = UniqueFd(open(std::filesystem::path(path).parent_path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    require(static_cast<bool>(lock_));
    const bool locked = flock(lock_.get(), LOCK_EX | LOCK_NB) == 0;
    const UniqueFd probe = makeSocket();
    if (!locked || connect(probe.get(), pAddress, sizeof address) == 0 || errno == EAGAIN) {
        throw ChannelTaken(path + ": another database serves the channel");
    }
    require(unlink(path.c_str()) == 0 || errno == ENOENT);
    listener_ = makeSocket();
    require(bind(listener_.get(), pAddress, sizeof address) == 0 && listen(listener_.get(), SOMAXCONN) == 0);
}

Channel::~Channel()
{
    unlink(path_.c_str());
}

Server::Server(const Channel &channel, Answer answer, Faults faults)
    : channel_(channel), answer_(std::move(answer)), faults_(faults)
{
}

Server::Server(const Channel &channel, Database &database, Faults faults)
    : Server(
          channel,
          [&database](Bytes request) {
              database.refresh();
              return database.answer(request);
          },
          faults)
{
    pDatabase_ = &database;
}

void Server::run(int stopFd)
{
    for (;;) {
        const Clock::time_point now = Clock::now();
        if (acceptAt_ && *acceptAt_ <= now) {
            acceptAt_.reset();
        }
        if (refreshAt_ && *refreshAt_ <= now) {
            refreshAt_.reset();
            pDatabase_->refresh();
        }
        std::vector<pollfd> polled = {{stopFd, POLLIN, 0},
                                      {acceptAt_ ? -1 : channel_.fd(), POLLIN, 0},
                                      {pDatabase_ != nullptr ? pDatabase_->watchFd() : -1, POLLIN, 0}};
        const size_t fixed = polled.size();
        for (const Client &client : clients_) {
            // A client that hangs up while its answer waits is kept, since the answer may be followed by a breakdown.
            const bool waits = client.answer && client.due > now;
            polled.push_back({waits ? -1 : client.fd.get(), static_cast<short>(client.answer ? POLLOUT : POLLIN), 0});
        }
        if (poll(polled.data(), silent_ ? 1 : polled.size(), silent_ ? -1 : timeout(now)) < 0 && errno != EINTR) {
            throw std::system_error(errno, std::generic_category(), "poll");
        }
        if (polled[0].revents != 0) {
            return;
        }
        if (polled[2].revents != 0 && pDatabase_->isOutdated()) {
            refreshAt_ = Clock::now() + pauseTime;
        }
        auto at = polled.begin() + static_cast<std::ptrdiff_t>(fixed);
        for (Client &client : clients_) {
            serve(client, (at++)->revents);
        }
        clients_.remove_if([](const Client &client) { return client.gone; });
        if (polled[1].revents != 0 && !silent_) {
            acceptClients();
        }
    }
}

int Server::timeout(Clock::time_point now) const
{
    std::optional<Clock::time_point> first = refreshAt_;
    const auto consider = [&first](Clock::time_point when) { first = std::min(first.value_or(when), when); };
    if (acceptAt_) {
        consider(*acceptAt_);
    }
    for (const Client &client : clients_) {
        if (client.answer && client.due > now) {
            consider(client.due);
        }
    }
    if (!first) {
        return -1;
    }
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(*first - Clock::now());
    return static_cast<int>(std::clamp<int64_t>(left.count(), 0, INT32_MAX));
}

void Server::acceptClients()
{
    for (;;) {
        UniqueFd fd(accept4(channel_.fd(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK));
        if (!fd) {
            if (errno != EAGAIN && errno != ECONNABORTED && errno != EINTR) {
                acceptAt_ = Clock::now() + pauseTime;
            }
            return;
        }
        clients_.push_back({std::move(fd), std::nullopt, {}, false});
    }
}

void Server::serve(Client &client, short events)
{
    if (silent_ || events == 0) {
        return;
    }
    if (client.answer) {
        send(client);
    } else if ((events & POLLIN) != 0) {
        receive(client);
    } else {
        client.gone = true;
    }
}

void Server::receive(Client &client)
{
    // One byte more than a message may have, so that one too long is seen to be.
    std::array<uint8_t, DB_MESSAGE_MAX_BYTES + 1> request;
    const bool breaksDown = faults_.breaksDownBeforeReading();
    const ssize_t size = recv(client.fd.get(), request.data(), request.size(), breaksDown ? MSG_PEEK : 0);
    if (size < 0) {
        client.gone = errno != EAGAIN && errno != EINTR;
        return;
    }
    pollfd ended = {client.fd.get(), POLLRDHUP, 0};
    if (size == 0 && poll(&ended, 1, 0) == 1) {
        // The end, and no message of no bytes.
        client.gone = true;
        return;
    }
    if (breaksDown) {
        breakDown();
        return;
    }
    const Delivery delivery = faults_.deliver(Bytes(request).first(static_cast<size_t>(size)), answer_);
    if (!delivery.answered) {
        client.gone = delivery.hangsUp;
        if (delivery.breakdown != Moment::never) {
            breakDown();
        }
        return;
    }
    client.answer = delivery;
    client.due = Clock::now() + delivery.delay;
    if (delivery.delay.count() == 0) {
        send(client);
    }
}

void Server::send(Client &client)
{
    Delivery &delivery = *client.answer;
    Bytes bytes = delivery.message.bytes();
    if (delivery.breakdown == Moment::midAnswer) {
        bytes = bytes.first(bytes.size() / 2);
    }
    for (; delivery.copies > 0 && !client.gone; --delivery.copies) {
        if (::send(client.fd.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL) < 0) {
            if (errno == EAGAIN || errno == EINTR) {
                return;
            }
            client.gone = true;
        }
    }
    if (delivery.breakdown != Moment::never) {
        breakDown();
    }
    client.answer.reset();
}

void Server::breakDown()
{
    if (faults_.dies()) {
        raise(SIGKILL);
    }
    silent_ = true;
}

} // namespace sim
