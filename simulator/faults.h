/**
 * @file faults.h
 * Faults on demand, so that a tester sees what clients make of a database that misbehaves.
 */
#ifndef FAULTS_H
#define FAULTS_H

#include <chrono>
#include <functional>
#include <optional>

#include "message.h"

namespace sim
{

/** Answers a request; nothing means that the connection is dropped. */
using Answer = std::function<std::optional<Message>(Bytes)>;

/** Where in the course of a request the database breaks down. */
enum class Moment {
    never,
    beforeReading, ///< the request has come and is not taken
    afterReading,  ///< it is not carried out
    midAnswer,     ///< half of the answer has gone, as a message of its own
    afterAnswer
};

/** The end of all answering, at one request of the run. */
struct Breakdown {
    Moment moment = Moment::never;
    uint32_t request = 0; ///< the run's first is 1
    bool dies = false;    ///< by SIGKILL; else it falls silent, and all connections stay open
};

/** Some of the run's requests: each whose number is a multiple of one number, or that one alone; the first is 1. */
struct Requests {
    constexpr Requests(uint32_t which = 0, bool onlyIt = false) : number(which), alone(onlyIt) {}
    bool include(uint32_t request) const
    {
        return alone ? request == number : number != 0 && request % number == 0;
    }
    uint32_t number; ///< 0: none
    bool alone;
};

/** Which fault befalls which requests. */
struct FaultSettings {
    Requests busy{};     ///< refused with status 1 or 2
    Requests drop{};     ///< neither carried out nor answered
    Requests truncate{}; ///< the answer loses bytes at its end, but not all
    Requests garble{};   ///< 1 to 8 bytes of the answer change
    Requests empty{};    ///< the answer is a message of no bytes
    Requests tooLong{};  ///< the answer goes on to one byte more than a message may have
    Requests twice{};    ///< the answer comes two times
    Requests delay{};    ///< the answer comes late
    std::chrono::milliseconds delayTime{0};
    uint32_t seed = 1; ///< of all that is left to chance; the same seed and the same requests give the same run
    Breakdown breakdown{};
};

/** What becomes of one request. */
struct Delivery {
    bool answered = true;
    bool hangsUp = false; ///< with no answer: the connection is dropped
    Message message;
    uint32_t copies = 1;
    std::chrono::milliseconds delay{0};
    Moment breakdown = Moment::never; ///< of this request; one that is not answered breaks down in place of the answer
};

/** Carries out requests, with faults. */
class Faults
{
  public:
    explicit Faults(const FaultSettings &settings) : settings_(settings) {}
    /** Takes the next request of the run. `answer` is called at most once. */
    Delivery deliver(Bytes request, const Answer &answer);
    /** Whether the database breaks down before it takes the next request. */
    bool breaksDownBeforeReading() const
    {
        return settings_.breakdown.moment == Moment::beforeReading && settings_.breakdown.request == count_ + 1;
    }
    /** Whether a breakdown is its death. */
    bool dies() const
    {
        return settings_.breakdown.dies;
    }

  private:
    FaultSettings settings_;
    uint32_t count_ = 0; ///< requests so far
};

} // namespace sim

#endif
