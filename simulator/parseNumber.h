/**
 * @file parseNumber.h
 * Numbers in texts.
 */
#ifndef PARSE_NUMBER_H
#define PARSE_NUMBER_H

#include <charconv>
#include <cstdint>
#include <optional>
#include <string_view>

namespace sim
{

/** Reads a whole text as a number without a sign; nothing when it is none, or above `most`. */
inline std::optional<uint32_t> parseNumber(std::string_view text, uint32_t most = UINT32_MAX, int base = 10)
{
    uint32_t value = 0;
    const char *pEnd = text.data() + text.size();
    const auto [pStop, error] = std::from_chars(text.data(), pEnd, value, base);
    return error == std::errc() && pStop == pEnd && value <= most ? std::optional(value) : std::nullopt;
}

} // namespace sim

#endif
