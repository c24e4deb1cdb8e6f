// The retried exchange, and the calls about upload statuses.
#include <gtest/gtest.h>

#include "effects.h"
#include "records.h"
#include "rtosConnection.h"
#include "utilLog.h"

const Bytes statusRequest = message(fileRequest(9), 30), histogramRequest = message(db_request_header{10, 1, 0});
const std::string failedSend = "send|sleep 100000|ERROR error on IPC send, retrying, ret -3\n|";
static db_upload_histogram counters;

static int setAndCount()
{
    return dbSetUploadStatus("100MOXEL", "MOXE0001.MP4", 30, 0x600df00d) +
           dbGetUploadStatusHistogram(5, nullptr, &counters);
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
        rtosConnection connection = {};
        uint8_t buffer[DB_MESSAGE_MAX_BYTES];
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

TEST(UploadStatus, AnswerJudgedOrLoggedWrong)
{
    g_logLevel = UTIL_LOG_LEVEL_DEBUG;
    const char *pLog = "init|DEBUG Request: command_type %d\n|DEBUG          request_count 1\n|"
                       "DEBUG          token 0x%08X\n|%ssend|receive|%sdestroy|";
    const char *pNames = "DEBUG          dir_name 100MOXEL\n|DEBUG          file_name MOXE0001.MP4\n|"
                         "DEBUG          upload_status 30\n|";
    const char *pHeader = "DEBUG ResponseHeader: command_type 10\n|DEBUG                 status %d\n|"
                          "DEBUG                 count_returned 3\n|DEBUG                 rtos_db_version 4\n|"
                          "DEBUG                 token 0x00C0FFEE\n|";
    // Length and status of an answer, counters that it holds, what is logged of it.
    const std::tuple<size_t, uint32_t, Bytes, std::string> cases[] = {
        {19, 0, Bytes(128, 0xEE), "sleep 100000|WARN 19 bytes received, expecting 20, retrying\n|"},
        {20, 0, Bytes(128), formatted(pHeader, 0)},
        {33, 0, cut(counted(13), 128), formatted(pHeader, 0)},
        {28, 4, cut(counted(8), 128),
         formatted(pHeader, 4) + "sleep 100000|WARN error on IPC received, retrying, status 4\n|"},
        {1500, 0, counted(128), formatted(pHeader, 0)},
    };
    for (const auto &[length, status, wanted, logged] : cases) {
        const Bytes answer = cut(message(db_response_header{10, status, 3, 4, 0xC0FFEE}, counted(128)), length);
        ScriptedTransport transport;
        transport.answer(statusRequest, answer, true);
        transport.answer(histogramRequest, answer, true);
        memset(&counters, 0xEE, sizeof counters);
        EXPECT_EQ(setAndCount(), 0);
        EXPECT_EQ(message(counters), wanted);
        EXPECT_EQ(joined(),
                  formatted(pLog, 9, 0x600df00d, pNames, logged.c_str()) + formatted(pLog, 10, 5, "", logged.c_str()));
    }
}

TEST(UploadStatus, FailureReportedWrong)
{
    g_logLevel = UTIL_LOG_LEVEL_WARNING;
    ScriptedTransport transport;
    transport.openFails(-5);
    transport.openFails(-5);
    for (int i = 0; i < 22; ++i) {
        transport.sendFails(i < 11 ? statusRequest : histogramRequest, -3);
    }
    EXPECT_EQ(dbSetUploadStatus("100MOXE", "MOXE0001.MP4", 30, 0), -1);
    EXPECT_EQ(dbSetUploadStatus("100MOXEL", "MOXE00001.MP4", 30, 0), -1);
    EXPECT_EQ(setAndCount(), -2);
    EXPECT_EQ(setAndCount(), -2);
    const std::string closed = "init|ERROR mxIpcInit fail, ret -5\n|ERROR Failed to ininialize IPC: -1\n|";
    const std::string lost =
        "ERROR exhausted retries on IPC exchange, exiting\n|ERROR RTOS transaction failed.\n|destroy|";
    EXPECT_EQ(joined(), times(2, closed) + times(2, "init|" + times(11, failedSend) + lost));
}
