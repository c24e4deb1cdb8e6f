// The retried exchange, and the calls about upload statuses.
#include <gtest/gtest.h>
#include <unistd.h>

#include "effects.h"
#include "mxdebug.h"
#include "records.h"
#include "typedResponse.h"
#include "utilLog.h"

static rtosConnection connection;
static uint8_t buffer[DB_MESSAGE_MAX_BYTES];
const Bytes statusRequest = message(fileRequest(9), 30), histogramRequest = message(db_request_header{10, 1, 0});
const std::string failedSend = "send|sleep 100000|ERROR error on IPC send, retrying, ret -3\n|";
static db_upload_histogram counters;

static int setAndCount()
{
    return dbSetUploadStatus("100MOXEL", "MOXE0001.MP4", 30, 0x600df00d) +
           dbGetUploadStatusHistogram(5, nullptr, &counters);
}

static int write30(rtosConnection *pRtosConn, const char *pDirName, const char *pFileName, uint8_t *pRespBuf)
{
    return getWriteUploadStatusResponse(pRtosConn, pDirName, pFileName, pRespBuf, 30);
}

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

TEST(ExchangeDeathTest, NegativeLengthIsSent)
{
    g_debug_level = MXDEBUG_TO_STDOUT | (MXDEBUG_GATE_ASSERT + 1);
    EXPECT_EXIT((dup2(STDERR_FILENO, STDOUT_FILENO), rtosConnectionSend(&connection, "", -1)),
                testing::ExitedWithCode(255), "/rtosConnectionSend:[0-9]+:0 <= szSrc\n");
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
