/**
 * @file replay.h
 * A recorded camera: what the console printed of an exchange at log level 6, read back and answered from.
 */
#ifndef REPLAY_H
#define REPLAY_H

#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "message.h"

namespace sim
{

/** A recording that can't be used; the text names the file, the line and the reason. */
struct ReplayError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/**
 * Exchanges that were recorded. A request is known by its bytes apart from the token. Requests that were made several
 * times get their answers in the order of the recording, and when that is at its end, from its beginning again: each
 * run that is repeated over the replay sees what the recorded one saw.
 */
class Replay
{
  public:
    using Octets = std::vector<uint8_t>;

    /** Adds an exchange behind those recorded before. @param answer empty: none came */
    void add(Octets request, Octets answer);
    bool isEmpty() const
    {
        return recorded_.empty();
    }
    /**
     * Answers as was recorded, with the token of the request. A request that was not recorded gives status 5, and a
     * line on standard error. Nothing: no answer came when it was recorded.
     */
    std::optional<Message> answer(Bytes request);

  private:
    struct Answers {
        std::vector<Octets> inOrder; ///< at least one
        size_t next = 0;
    };
    std::map<Octets, Answers> recorded_; ///< by request, whose token is zero
};

/**
 * Reads what the console printed: "Snd :" or "Rcv :" on a line of its own, the lines of the message's bytes right
 * behind, and anything else in between. Any number of runs may stand one behind the other. A request with no answer
 * behind it could not be sent, or its run was ended, and counts for nothing. An answer with no bytes did not come.
 * @param text any bytes; a carriage return at a line's end is no part of it
 * @param name what the text is called in an error
 * @throws ReplayError when a message is not whole or not well formed, an answer has no request, or there is no exchange
 */
Replay parseReplay(std::string_view text, const std::string &name);

/** Reads a file as parseReplay does. @throws ReplayError when it can't be read, too */
Replay readReplay(const std::string &path);

} // namespace sim

#endif
