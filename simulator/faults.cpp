#include <random>

#include "database.h"
#include "faults.h"

namespace sim
{

Delivery Faults::deliver(Bytes request, const std::function<Message(Bytes)> &answer)
{
    ++count_;
    const auto hits = [this](uint32_t every) { return every != 0 && count_ % every == 0; };
    // The choices depend on the request's number alone, so that one fault does not move another.
    std::seed_seq seed{settings_.seed, count_};
    std::mt19937 chance(seed);
    const auto below = [&chance](size_t limit) { return chance() % limit; };

    Delivery delivery;
    if (hits(settings_.drop)) {
        delivery.answered = false;
        return delivery;
    }
    delivery.message =
        hits(settings_.busy)
            ? plainAnswer(request, static_cast<uint32_t>(below(2) == 0 ? DB_STATUS_BUSY : DB_STATUS_NOT_READY))
            : answer(request);
    if (hits(settings_.truncate)) {
        delivery.message.cut(1 + below(delivery.message.size() - 1));
    }
    if (hits(settings_.garble)) {
        const std::span<uint8_t> bytes = delivery.message.writableBytes();
        for (size_t left = 1 + below(8); left > 0; --left) {
            bytes[below(bytes.size())] ^= static_cast<uint8_t>(1 + below(255));
        }
    }
    if (hits(settings_.delay)) {
        delivery.delay = settings_.delayTime;
    }
    return delivery;
}

} // namespace sim
