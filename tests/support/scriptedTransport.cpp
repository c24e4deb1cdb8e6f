#include "scriptedTransport.h"

#include <algorithm>
#include <cstring>
#include <gtest/gtest.h>

#if defined(__SANITIZE_ADDRESS__)
#define MX_POISONS
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define MX_POISONS
#endif
#endif
#ifdef MX_POISONS
#include <sanitizer/asan_interface.h>
#define MX_POISON(address, size) __asan_poison_memory_region(address, size)
#define MX_UNPOISON(address, size) __asan_unpoison_memory_region(address, size)
#else
#define MX_POISON(address, size) static_cast<void>(address)
#define MX_UNPOISON(address, size) static_cast<void>(address)
#endif

#include "effects.h"
#include "mxipc.h"

namespace
{

ScriptedTransport *pCurrent = nullptr;

constexpr size_t tokenOffset = offsetof(db_request_header, token);
constexpr size_t responseTokenOffset = offsetof(db_response_header, token);

std::string hex(const Bytes &bytes)
{
    std::string text;
    char digits[4];
    for (size_t i = 0; i < bytes.size(); ++i) {
        snprintf(digits, sizeof digits, "%s%02x", i % 4 == 0 ? " " : "", bytes[i]);
        text += digits;
    }
    return text;
}

Bytes withoutToken(Bytes request)
{
    for (size_t i = tokenOffset; i < std::min(request.size(), tokenOffset + sizeof(uint32_t)); ++i) {
        request[i] = 0;
    }
    return request;
}

} // namespace

ScriptedTransport::ScriptedTransport()
{
    effects().clear();
    pCurrent = this;
}

ScriptedTransport::~ScriptedTransport()
{
    guard(nullptr, 0);
    EXPECT_EQ(openHandles, 0) << "handles left open";
    EXPECT_TRUE(steps.empty()) << steps.size() << " steps left, first:" << hex(steps.front().request);
    EXPECT_TRUE(openResults.empty()) << "an opening that was to fail was not made";
    pCurrent = nullptr;
}

void ScriptedTransport::openFails(int result)
{
    openResults.push_back(result);
}

void ScriptedTransport::answer(const Bytes &request, const Bytes &response, bool ownToken)
{
    steps.push_back({request, 0, static_cast<int>(response.size()), response, ownToken});
}

void ScriptedTransport::sendFails(const Bytes &request, int result)
{
    steps.push_back({request, result, 0, {}, false});
}

void ScriptedTransport::receiveFails(const Bytes &request, int result)
{
    steps.push_back({request, 0, result, {}, false});
}

int ScriptedTransport::init(void *pHandle)
{
    effects().push_back("init");
    if (!openResults.empty()) {
        const int result = openResults.front();
        openResults.pop_front();
        return result;
    }
    memset(pHandle, 0x5A, sizeof(mxIpcHandle));
    ++openHandles;
    return 0;
}

int ScriptedTransport::send(const void *pMessage, int length)
{
    effects().push_back("send");
    const auto *pBytes = static_cast<const uint8_t *>(pMessage);
    const Bytes sent(pBytes, pBytes + length);
    EXPECT_FALSE(awaitingReceive) << "a request before the response to the last one";
    if (steps.empty()) {
        ADD_FAILURE() << "a request that the script does not hold:" << hex(sent);
        return -1;
    }
    Step &step = steps.front();
    EXPECT_EQ(hex(withoutToken(sent)), hex(withoutToken(step.request)));
    if (sent.size() >= sizeof(db_request_header)) {
        memcpy(&lastToken, sent.data() + tokenOffset, sizeof lastToken);
    }
    if (step.sendResult < 0) {
        const int result = step.sendResult;
        steps.pop_front();
        return result;
    }
    awaitingReceive = true;
    return 0;
}

int ScriptedTransport::receive(void *pBuffer)
{
    effects().push_back("receive");
    if (!awaitingReceive || steps.empty()) {
        ADD_FAILURE() << "a receive without a request";
        return -1;
    }
    awaitingReceive = false;
    Step step = steps.front();
    steps.pop_front();
    if (!step.ownToken && step.response.size() >= responseTokenOffset + sizeof lastToken) {
        memcpy(step.response.data() + responseTokenOffset, &lastToken, sizeof lastToken);
    }
    guard(pBuffer, std::min<size_t>(step.response.size(), DB_MESSAGE_MAX_BYTES));
    std::copy_n(step.response.begin(), std::min<size_t>(step.response.size(), DB_MESSAGE_MAX_BYTES),
                static_cast<uint8_t *>(pBuffer));
    return step.receiveResult;
}

void ScriptedTransport::destroy(void *pHandle)
{
    effects().push_back("destroy");
    guard(nullptr, 0);
    const mxIpcHandle closed = {};
    if (memcmp(pHandle, &closed, sizeof closed) != 0) {
        memset(pHandle, 0, sizeof closed);
        --openHandles;
    }
}

void ScriptedTransport::guard(void *pBuffer, size_t length)
{
    if (pGuarded != nullptr) {
        MX_UNPOISON(pGuarded, DB_MESSAGE_MAX_BYTES);
    }
    pGuarded = static_cast<uint8_t *>(pBuffer);
    if (pGuarded != nullptr && guarding) {
        MX_POISON(pGuarded + length, DB_MESSAGE_MAX_BYTES - length);
    }
}

struct TransportDouble {
    static ScriptedTransport &current()
    {
        if (pCurrent == nullptr) {
            ADD_FAILURE() << "the transport is used without a script";
            abort();
        }
        return *pCurrent;
    }
    static int init(void *pHandle)
    {
        return current().init(pHandle);
    }
    static int send(const void *pMessage, int length)
    {
        return current().send(pMessage, length);
    }
    static int receive(void *pBuffer)
    {
        return current().receive(pBuffer);
    }
    static void destroy(void *pHandle)
    {
        current().destroy(pHandle);
    }
};

extern "C" {

int mxIpcInit(const char *pChannelName, mxIpcHandle *pHandle)
{
    EXPECT_STREQ(pChannelName, DB_CHANNEL_NAME);
    return TransportDouble::init(pHandle);
}

int mxIpcSend(mxIpcHandle *, const void *pMessage, int length)
{
    return TransportDouble::send(pMessage, length);
}

int mxIpcReceive(mxIpcHandle *, void *pBuffer)
{
    return TransportDouble::receive(pBuffer);
}

void mxIpcDestroy(mxIpcHandle *pHandle)
{
    TransportDouble::destroy(pHandle);
}
}
