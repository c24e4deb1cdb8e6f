// The retried exchange, the typed responses that are made of it, and the calls about upload statuses.
#include <gtest/gtest.h>
#include <regex>
#include <unistd.h>

#include "effects.h"
#include "mxdebug.h"
#include "records.h"
#include "typedResponse.h"
#include "utilLog.h"

namespace
{

rtosConnection connection;
uint8_t buffer[DB_MESSAGE_MAX_BYTES];
const Bytes statusRequest = message(fileRequest(9), 30), histogramRequest = message(db_request_header{10, 1, 0});
const std::string failedSend = "send|sleep 100000|ERROR error on IPC send, retrying, ret -3\n|";
db_upload_histogram counters;

int setAndCount()
{
    return dbSetUploadStatus("100MOXEL", "MOXE0001.MP4", 30, 0x600df00d) +
           dbGetUploadStatusHistogram(5, nullptr, &counters);
}

int write30(rtosConnection *pRtosConn, const char *pDirName, const char *pFileName, uint8_t *pRespBuf)
{
    return getWriteUploadStatusResponse(pRtosConn, pDirName, pFileName, pRespBuf, 30);
}

// Gives a typed response an answer that is cut to each length. Tells the lengths from which on there is another result,
// place of an out-pointer in the buffer (1: untouched, -1: null) or effect. The answer's count of 0 is not looked at.
template <typename... Record>
std::string lengths(int (*pCall)(rtosConnection *, const char *, const char *, uint8_t *, const Record **...),
                    uint8_t command, uint32_t status, db_content_type type = 0, uint32_t highlights = 0,
                    uint32_t properties = 1)
{
    const Bytes answer = message(responseHeader(command, status, 0), contentInfo(type, {}, 0, properties),
                                 db_video_specific_info{~0u, ~0u, ~0u, ~0u, highlights, ~0u}, gumiOf(7));
    const auto call = [&](auto... p) {
        const int result = pCall(&connection, "100MOXELs", "MOXE0001.MP4s", buffer, &p...);
        return (std::to_string(result) + ... +
                formatted(" %td", p == nullptr ? -1 : reinterpret_cast<const uint8_t *>(p) - buffer));
    };
    const std::regex number("[(][0-9]+");
    std::string changes, last;
    for (size_t length = 0; length <= sizeof buffer; length += length == 160 ? sizeof buffer - 160 : 1) {
        ScriptedTransport transport;
        transport.answer(command == 9 ? statusRequest : fileRequest(command), cut(answer, length));
        memset(buffer, 0xEE, sizeof buffer);
        std::string now = call(reinterpret_cast<const Record *>(buffer + 1)...) + "|";
        now += std::regex_replace(joined(), number, "(N");
        changes += now == last ? "" : std::to_string(length) + ": " + now;
        last = now;
        const Bytes known = cut(cut(answer, length < 96 ? 80 : length), 112);
        EXPECT_TRUE(command != 7 || !now.starts_with("200") || memcmp(buffer + 80, &known[80], 32) == 0) << length;
    }
    return changes;
}

} // namespace

TEST(Exchange, AttemptsOrDumpsInWrongNumberOrOrder)
{
    ScriptedTransport transport;
    for (const int received : {1501, -1, -1, -1, -1}) {
        transport.sendFails(histogramRequest, -3);
        transport.receiveFails(histogramRequest, received);
    }
    transport.answer(histogramRequest, counted(34), true);
    transport.answer(histogramRequest, {}); // an empty response is one
    const std::string printed = printedBy([] {
        g_logLevel = UTIL_LOG_LEVEL_TRACE;
        EXPECT_EQ(rtosCall(&connection, histogramRequest.data(), 12, buffer), 34);
        g_logLevel = UTIL_LOG_LEVEL_INFO;
        EXPECT_EQ(rtosCall(&connection, histogramRequest.data(), 12, buffer), 0);
    });
    const std::string failed = "send|receive|sleep 100000|ERROR error on IPC received, retrying, bytesRead -1\n|";
    EXPECT_EQ(joined(), times(5, failedSend + failed) + "send|receive|send|receive|");
    const std::string sent = "\nSnd :\n[00000/00012]: 0a 00 00 00  01 00 00 00   00 00 00 00 \n";
    EXPECT_EQ(printed, times(5, sent + sent + "\nRcv :\n") + sent +
                           "\nRcv :\n[00000/00034]: 01 02 03 04  05 06 07 08   "
                           "09 0a 0b 0c  0d 0e 0f 10    11 12 13 14  15 16 17 18   19 1a 1b 1c  1d 1e 1f 20   "
                           "\n[00032/00034]: 21 22\n");
}

TEST(ExchangeDeathTest, ArgumentsAssertedInWrongOrder)
{
    g_debug_level = MXDEBUG_TO_STDOUT | (MXDEBUG_GATE_ASSERT + 1);
    const auto dies = [](auto call, const char *pReport) {
        EXPECT_EXIT((dup2(STDERR_FILENO, STDOUT_FILENO), call()), testing::ExitedWithCode(255), pReport);
    };
    dies([] { rtosCall(&connection, nullptr, 0, nullptr); }, "/rtosCall:[0-9]+:pCmd\n");
    dies([] { rtosConnectionSend(&connection, "", -1); }, ":0 <= szSrc\n");
    dies([] { getContentInfoResponse(&connection, "", nullptr, nullptr, nullptr); }, "Response:[0-9]+:pFileName\n");
}

TEST(TypedResponse, ResponseJudgedWrong)
{
    g_logLevel = UTIL_LOG_LEVEL_WARNING;
    const auto content = getContentInfoResponse;
    const auto video = getVideoSpecificInfoResponse;
    const auto gumi = getFileGUMIResponse;
    const std::string once = "|send|receive|", lost = once + "ERROR Invalid response size (N), discarding\n|";
    const std::string noFile = once + "WARN Invalid content type (-1), inferring FILE NOT_FOUND\n|";
    const std::string noGumi = once + "WARN Insufficient response size (N), invalidating GUMIs\n|";
    const std::string refused = once + "ERROR error on IPC received, exiting, status ";
    const std::string noInfo = "0: 500 -1" + lost, noVideo = "0: 500 -1 -1" + lost, noGumis = "0: 500 -1 -1 -1" + lost;
    EXPECT_EQ(lengths(content, 2, 0, 4), noInfo + "80: 200 20" + once);
    EXPECT_EQ(lengths(content, 2, 1), noInfo + "20: 503 -1" + once);
    EXPECT_EQ(lengths(content, 2, 2), noInfo + "20: 503 -1" + once);
    EXPECT_EQ(lengths(content, 2, 3), noInfo + "20: 404 -1" + refused + "3\n|");
    EXPECT_EQ(lengths(content, 2, 4), noInfo + "20: 404 -1" + once);
    EXPECT_EQ(lengths(content, 2, 5), noInfo + "20: 500 -1" + refused + "5\n|");
    EXPECT_EQ(lengths(video, 4, 0, 4), noVideo + "80: 200 20 80" + once);
    EXPECT_EQ(lengths(video, 4, 0, -1), noVideo + "80: 404 -1 -1" + noFile);
    EXPECT_EQ(lengths(video, 4, 0, 3), noVideo + "104: 200 20 80" + once);
    EXPECT_EQ(lengths(video, 4, 0, 0, 3), noVideo + "116: 200 20 80" + once);
    EXPECT_EQ(lengths(video, 4, 0, 1, 0x40000000), noVideo);
    EXPECT_EQ(lengths(getMoreInfoResponse, 8, 0, -1), "0: 500 1" + lost + "48: 200 20" + once);
    EXPECT_EQ(lengths(gumi, 7, 0), noGumis + "80: 200 20 80 96" + noGumi + "96: 200 20 80 96" + once);
    EXPECT_EQ(lengths(gumi, 7, 0, 0, 0, ~1u), noGumis + "80: 200 20 80 -1" + noGumi + "96: 200 20 80 -1" + once);
    EXPECT_EQ(lengths(write30, 9, 0), "0: 500" + lost + "20: 200" + once);
}

TEST(UploadStatus, AnswerJudgedOrLoggedWrong)
{
    g_logLevel = UTIL_LOG_LEVEL_DEBUG;
    const char *pAsk =
        "DEBUG Request: command_type %d\n|DEBUG          request_count 1\n|DEBUG          token 0x%08X\n|";
    const char *pCame = "DEBUG ResponseHeader: command_type 10\n|DEBUG                 status %d\n|"
                        "DEBUG                 count_returned 3\n|DEBUG                 rtos_db_version 4\n|"
                        "DEBUG                 token 0x00C0FFEE\n|";
    const std::string names = "DEBUG          dir_name 100MOXEL\n|DEBUG          file_name MOXE0001.MP4\n|"
                              "DEBUG          upload_status 30\n|send|receive|";
    const auto expect = [&](size_t length, uint32_t status, const Bytes &wanted, const std::string &logged) {
        const Bytes answer = cut(message(db_response_header{10, status, 3, 4, 0xC0FFEE}, counted(128)), length);
        ScriptedTransport transport;
        transport.answer(statusRequest, answer, true);
        transport.answer(histogramRequest, answer, true);
        memset(&counters, 0xEE, sizeof counters);
        EXPECT_EQ(setAndCount(), 0);
        EXPECT_EQ(message(counters), wanted);
        const std::string came = (length < 20 ? "" : formatted(pCame, status)) + logged + "destroy|";
        EXPECT_EQ(joined(), "init|" + formatted(pAsk, 9, 0x600df00d) + names + came + "init|" + formatted(pAsk, 10, 5) +
                                "send|receive|" + came);
    };
    expect(19, 0, Bytes(128, 0xEE), "sleep 100000|WARN 19 bytes received, expecting 20, retrying\n|");
    expect(20, 0, Bytes(128), "");
    expect(33, 0, cut(counted(13), 128), "");
    expect(28, 4, cut(counted(8), 128), "sleep 100000|WARN error on IPC received, retrying, status 4\n|");
    expect(1500, 0, counted(128), "");

    // The write of the web output compares the token, and lowers the count.
    ScriptedTransport transport;
    transport.answer(statusRequest, message(db_response_header{10, 0, 3, 4, 0xC0FFEE}), true);
    EXPECT_EQ(write30(&connection, "100MOXEL", "MOXE0001.MP4", buffer), 200);
    EXPECT_EQ(buffer[offsetof(db_response_header, count_returned)], 1);
    EXPECT_EQ(joined(), formatted(pAsk, 9, transport.lastToken) + "send|receive|" + formatted(pCame, 0) +
                            formatted("WARN Tokens don't match 12648430 %d|", transport.lastToken) +
                            "WARN command 9 requested 1, response returned 3, setting response returned to 1\n|");
}

TEST(UploadStatus, FailureReportedWrong)
{
    g_logLevel = UTIL_LOG_LEVEL_WARNING;
    ScriptedTransport transport;
    transport.openFails(-5);
    transport.openFails(-5);
    for (int i = 0; i < 33; ++i) {
        transport.sendFails(i < 22 ? statusRequest : histogramRequest, -3);
    }
    EXPECT_EQ(dbSetUploadStatus("100MOXE", "MOXE0001.MP4", 30, 0), -1);
    EXPECT_EQ(dbSetUploadStatus("100MOXEL", "MOXE00001.MP4", 30, 0), -1);
    EXPECT_EQ(setAndCount(), -2);
    EXPECT_EQ(write30(&connection, "100MOXEL", "MOXE0001.MP4", buffer), 500);
    EXPECT_EQ(setAndCount(), -2);
    const std::string exhausted = times(11, failedSend) + "ERROR exhausted retries on IPC exchange, exiting\n|";
    EXPECT_EQ(joined(), times(2, "init|ERROR mxIpcInit fail, ret -5\n|ERROR Failed to ininialize IPC: -1\n|") +
                            exhausted + "ERROR Invalid response size (-1), discarding\n|" +
                            times(2, "init|" + exhausted + "ERROR RTOS transaction failed.\n|destroy|"));
}
