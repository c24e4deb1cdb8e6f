#include <random>

#include "faults.h"

namespace sim
{

Delivery Faults::deliver(Bytes request, const Answer &answer)
{
    ++count_;
    const auto hits = [this](const Requests &requests) { return requests.include(count_); };
    // The choices depend on the request's number alone, so that one fault does not move another.
    std::seed_seq seed{settings_.seed, count_};
    std::mt19937 chance(seed);
    const auto below = [&chance](size_t limit) { return chance() % limit; };

    Delivery delivery;
    if (settings_.breakdown.request == count_) {
        delivery.breakdown = settings_.breakdown.moment;
    }
    if (hits(settings_.drop) || delivery.breakdown == Moment::afterReading) {
        delivery.answered = false;
        return delivery;
    }
    const std::optional<Message> message =
        hits(settings_.busy)
            ? plainAnswer(request, static_cast<uint32_t>(below(2) == 0 ? DB_STATUS_BUSY : DB_STATUS_NOT_READY))
            : answer(request);
    if (!message) {
        delivery.answered = false;
        delivery.hangsUp = true;
        return delivery;
    }
    delivery.message = *message;
    if (hits(settings_.truncate) && delivery.message.size() > 1) {
        delivery.message.cut(1 + below(delivery.message.size() - 1));
    }
    if (hits(settings_.garble)) {
        const std::span<uint8_t> bytes = delivery.message.writableBytes();
        for (size_t left = 1 + below(8); left > 0; --left) {
            bytes[below(bytes.size())] ^= static_cast<uint8_t>(1 + below(255));
        }
    }
    if (hits(settings_.empty)) {
        delivery.message.cut(0);
    }
    if (hits(settings_.tooLong)) {
        delivery.message.overfill();
    }
    if (hits(settings_.twice)) {
        delivery.copies = 2;
    }
    if (hits(settings_.delay)) {
        delivery.delay = settings_.delayTime;
    }
    return delivery;
}

} // namespace sim
