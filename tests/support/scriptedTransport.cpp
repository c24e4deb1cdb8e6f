#include "scriptedTransport.h"

#include <algorithm>
#include <cstring>
#include <gtest/gtest.h>

#include "effects.h"
#include "mxipc.h"

static ScriptedTransport *pCurrent = nullptr;

ScriptedTransport::ScriptedTransport()
{
    effects().clear();
    pCurrent = this;
}

ScriptedTransport::~ScriptedTransport()
{
    EXPECT_EQ(openHandles, 0) << "handles left open";
    EXPECT_EQ(steps.size(), 0u) << "exchanges that were not made";
    EXPECT_EQ(openResults.size(), 0u) << "openings that were not made";
    pCurrent = nullptr;
}

extern "C" {

int mxIpcInit(const char *pChannelName, mxIpcHandle *pHandle)
{
    EXPECT_STREQ(pChannelName, DB_CHANNEL_NAME);
    effects().push_back("init");
    if (std::deque<int> &results = pCurrent->openResults; !results.empty()) {
        const int result = results.front();
        results.pop_front();
        return result;
    }
    memset(pHandle, 0x5A, sizeof *pHandle);
    ++pCurrent->openHandles;
    return 0;
}

int mxIpcSend(mxIpcHandle *, const void *pMessage, int length)
{
    effects().push_back("send");
    const auto *pBytes = static_cast<const uint8_t *>(pMessage);
    Bytes sent(pBytes, pBytes + length);
    uint8_t *pToken = &sent.at(offsetof(db_request_header, token));
    memcpy(&pCurrent->lastToken, pToken, sizeof pCurrent->lastToken);
    memset(pToken, 0, sizeof pCurrent->lastToken);
    EXPECT_FALSE(pCurrent->awaitingReceive) << "a request before the response to the last one";
    if (pCurrent->steps.empty()) {
        ADD_FAILURE() << "a request that the script does not hold: " << testing::PrintToString(sent);
        return -1;
    }
    EXPECT_EQ(sent, pCurrent->steps.front().request);
    const int result = pCurrent->steps.front().sent;
    pCurrent->awaitingReceive = result >= 0;
    if (result < 0) {
        pCurrent->steps.pop_front();
    }
    return result;
}

int mxIpcReceive(mxIpcHandle *, void *pBuffer)
{
    effects().push_back("receive");
    if (!std::exchange(pCurrent->awaitingReceive, false)) {
        ADD_FAILURE() << "a receive without a request";
        return -1;
    }
    auto [request, sent, result, response, ownToken] = pCurrent->steps.front();
    pCurrent->steps.pop_front();
    if (!ownToken && response.size() >= sizeof(db_response_header)) {
        memcpy(&response[offsetof(db_response_header, token)], &pCurrent->lastToken, sizeof pCurrent->lastToken);
    }
    std::copy(response.begin(), response.end(), static_cast<uint8_t *>(pBuffer));
    return result;
}

void mxIpcDestroy(mxIpcHandle *pHandle)
{
    effects().push_back("destroy");
    pCurrent->openHandles -= pHandle->word[0] != 0;
    *pHandle = {};
}
}
