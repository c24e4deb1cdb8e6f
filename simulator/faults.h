/**
 * @file faults.h
 * Faults on demand, so that a tester sees what clients make of a database that misbehaves.
 */
#ifndef FAULTS_H
#define FAULTS_H

#include <chrono>
#include <functional>

#include "message.h"

namespace sim
{

/** Which fault befalls which requests: a number N means every Nth request of the run, 0 means none. */
struct FaultSettings {
    uint32_t busy = 0;     ///< refused with status 1 or 2
    uint32_t drop = 0;     ///< neither carried out nor answered
    uint32_t truncate = 0; ///< the answer loses bytes at its end, but not all
    uint32_t garble = 0;   ///< 1 to 8 bytes of the answer change
    uint32_t delay = 0;    ///< the answer comes late
    std::chrono::milliseconds delayTime{0};
    uint32_t seed = 1; ///< of all that is left to chance; the same seed and the same requests give the same run
};

/** What becomes of one request. */
struct Delivery {
    bool answered = true;
    Message message;
    std::chrono::milliseconds delay{0};
};

/** Carries out requests, with faults. */
class Faults
{
  public:
    explicit Faults(const FaultSettings &settings) : settings_(settings) {}
    /** Takes the next request of the run. `answer` is called at most once. */
    Delivery deliver(Bytes request, const std::function<Message(Bytes)> &answer);

  private:
    FaultSettings settings_;
    uint32_t count_ = 0; ///< requests so far
};

} // namespace sim

#endif
