/**
 * @file scriptedTransport.h
 * The transport that tests are linked with: it expects the requests of a script, in their order, and gives the
 * script's answers. Any difference, and any answer left unused, fails the test.
 */
#ifndef SCRIPTED_TRANSPORT_H
#define SCRIPTED_TRANSPORT_H

#include <cstdint>
#include <deque>
#include <type_traits>
#include <vector>

#include "mxMediaRTOSDB.h"

using Bytes = std::vector<uint8_t>;

/** Appends bytes, or those of a record or of a plain value, to a message. */
template <typename Part>
Bytes &operator<<(Bytes &message, const Part &part)
{
    if constexpr (std::is_trivially_copyable_v<Part>) {
        const auto *pBytes = reinterpret_cast<const uint8_t *>(&part);
        message.insert(message.end(), pBytes, pBytes + sizeof part);
    } else {
        message.insert(message.end(), part.begin(), part.end());
    }
    return message;
}

/** A message of the parts, one behind the other. */
template <typename... Parts>
Bytes message(const Parts &...parts)
{
    Bytes bytes;
    return (bytes << ... << parts);
}

/** The first `length` bytes of a message, with `length` allowed to be more: zeros follow then. */
inline Bytes cut(Bytes bytes, size_t length)
{
    bytes.resize(length);
    return bytes;
}

/**
 * One script. While it lives, it is what the code under test finds as its transport; when it dies, it checks that all
 * of it was used and that every handle was closed.
 */
struct ScriptedTransport {
    ScriptedTransport();
    ~ScriptedTransport();

    /** The next opening fails with this result. Without it every opening succeeds. */
    void openFails(int result)
    {
        openResults.push_back(result);
    }
    /**
     * One exchange. The request is compared apart from its token; the response gets the request's token unless
     * `ownToken` is set or it is too short to bear one.
     */
    void answer(const Bytes &request, const Bytes &response, bool ownToken = false)
    {
        steps.push_back({request, 0, static_cast<int>(response.size()), response, ownToken});
    }
    /** A request whose send fails with this result. */
    void sendFails(const Bytes &request, int result)
    {
        steps.push_back({request, result, 0, {}, false});
    }
    /** A request that goes out and whose receive fails with this result. */
    void receiveFails(const Bytes &request, int result)
    {
        steps.push_back({request, 0, result, {}, false});
    }

    struct Step {
        Bytes request;
        int sent, received; // results
        Bytes response;
        bool ownToken;
    };
    std::deque<int> openResults;
    std::deque<Step> steps;
    int openHandles = 0;
    uint32_t lastToken = 0; // of the last request
    bool awaitingReceive = false;
};

#endif
