#include "scriptedTransport.h"

#include <algorithm>
#include <cstring>
#include <gtest/gtest.h>

#include "effects.h"

static ScriptedTransport *pCurrent = nullptr;

constexpr size_t tokenOffset = offsetof(db_request_header, token);
constexpr size_t responseTokenOffset = offsetof(db_response_header, token);

static ScriptedTransport &current()
{
    if (pCurrent == nullptr) {
        ADD_FAILURE() << "the transport is used without a script";
        abort();
    }
    return *pCurrent;
}

// Bytes of a request, without its token.
static std::string hex(const Bytes &request)
{
    std::string text;
    for (size_t i = 0; i < request.size(); ++i) {
        const bool isToken = i >= tokenOffset && i < tokenOffset + sizeof(uint32_t);
        text += formatted("%s%02x", i % 4 == 0 ? " " : "", isToken ? 0 : request[i]);
    }
    return text;
}

ScriptedTransport::ScriptedTransport()
{
    effects().clear();
    pCurrent = this;
}

ScriptedTransport::~ScriptedTransport()
{
    EXPECT_EQ(openHandles, 0) << "handles left open";
    EXPECT_TRUE(steps.empty()) << steps.size() << " steps left, first:" << hex(steps.front().request);
    EXPECT_TRUE(openResults.empty()) << "an opening that was to fail was not made";
    pCurrent = nullptr;
}

extern "C" {

int mxIpcInit(const char *pChannelName, mxIpcHandle *pHandle)
{
    EXPECT_STREQ(pChannelName, DB_CHANNEL_NAME);
    effects().push_back("init");
    ScriptedTransport &script = current();
    if (!script.openResults.empty()) {
        const int result = script.openResults.front();
        script.openResults.pop_front();
        return result;
    }
    memset(pHandle, 0x5A, sizeof *pHandle);
    ++script.openHandles;
    return 0;
}

int mxIpcSend(mxIpcHandle *, const void *pMessage, int length)
{
    effects().push_back("send");
    ScriptedTransport &script = current();
    const auto *pBytes = static_cast<const uint8_t *>(pMessage);
    const Bytes sent(pBytes, pBytes + length);
    EXPECT_FALSE(script.awaitingReceive) << "a request before the response to the last one";
    if (script.steps.empty()) {
        ADD_FAILURE() << "a request that the script does not hold:" << hex(sent);
        return -1;
    }
    const ScriptedTransport::Step &step = script.steps.front();
    EXPECT_EQ(hex(sent), hex(step.request));
    if (sent.size() >= sizeof(db_request_header)) {
        memcpy(&script.lastToken, sent.data() + tokenOffset, sizeof script.lastToken);
    }
    const int result = step.sendResult;
    script.awaitingReceive = result >= 0;
    if (result < 0) {
        script.steps.pop_front();
    }
    return result;
}

int mxIpcReceive(mxIpcHandle *, void *pBuffer)
{
    effects().push_back("receive");
    ScriptedTransport &script = current();
    if (!script.awaitingReceive || script.steps.empty()) {
        ADD_FAILURE() << "a receive without a request";
        return -1;
    }
    script.awaitingReceive = false;
    auto [request, sendResult, receiveResult, response, ownToken] = script.steps.front();
    script.steps.pop_front();
    if (!ownToken && response.size() >= responseTokenOffset + sizeof script.lastToken) {
        memcpy(response.data() + responseTokenOffset, &script.lastToken, sizeof script.lastToken);
    }
    std::copy_n(response.begin(), std::min<size_t>(response.size(), DB_MESSAGE_MAX_BYTES),
                static_cast<uint8_t *>(pBuffer));
    return receiveResult;
}

void mxIpcDestroy(mxIpcHandle *pHandle)
{
    effects().push_back("destroy");
    const mxIpcHandle closed = {};
    if (memcmp(pHandle, &closed, sizeof closed) != 0) {
        *pHandle = closed;
        --current().openHandles;
    }
}
}
