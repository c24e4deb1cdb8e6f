// The retried exchange, the typed responses that are made of it, and the calls about upload statuses.
#include <gtest/gtest.h>
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
const db_file_spec file = fileSpec();
const char *const pDir = file.dir_name, *const pFile = file.file_name;
const Bytes uploadRequest = message(fileRequest(9), 30);
const Bytes histogramRequest = message(db_request_header{10, 1, 0});

/** Result of a typed response, then each out-pointer: "." untouched, "0" null, "@" and its place in the buffer. */
std::string ask(uint32_t command)
{
    const auto *pInfo = reinterpret_cast<const db_content_info *>(buffer + 1);
    const auto *pVideo = reinterpret_cast<const db_video_specific_info *>(buffer + 1);
    const auto *pMore = reinterpret_cast<const db_more_info *>(buffer + 1);
    const uint8_t *pGumi = buffer + 1, *pParent = buffer + 1;
    const int result = command == 2   ? getContentInfoResponse(&connection, pDir, pFile, buffer, &pInfo)
                       : command == 4 ? getVideoSpecificInfoResponse(&connection, pDir, pFile, buffer, &pInfo, &pVideo)
                       : command == 8 ? getMoreInfoResponse(&connection, pDir, pFile, buffer, &pMore)
                       : command == 7 ? getFileGUMIResponse(&connection, pDir, pFile, buffer, &pInfo, &pGumi, &pParent)
                                      : getWriteUploadStatusResponse(&connection, pDir, pFile, buffer, 30);
    std::string told = std::to_string(result) + " ";
    for (const void *p : std::initializer_list<const void *>{pInfo, pVideo, pMore, pGumi, pParent}) {
        told += p == nullptr ? "0" : p == buffer + 1 ? "." : formatted("@%d", static_cast<int>(static_cast<const uint8_t *>(p) - buffer));
    }
    return told;
}

/** A response, whole. Its count of 0 is not looked at. */
Bytes answer(uint32_t command, uint32_t status, db_content_type type = 0, uint32_t highlights = 0, uint32_t properties = 1)
{
    const db_video_specific_info video = {~0u, ~0u, ~0u, ~0u, highlights, ~0u};
    return message(responseHeader(command, status, 0), contentInfo(type, file, 0, properties), video, gumiOf(7));
}

/** What becomes of a response cut to each length: the lengths from which on it is something else. */
std::string lengths(const Bytes &whole)
{
    std::string changes, last;
    for (size_t length = 0; length <= sizeof buffer; length += length == 160 ? sizeof buffer - 160 : 1) {
        const Bytes response = cut(whole, length);
        ScriptedTransport transport;
        transport.guarding = whole[0] != DB_COMMAND_GUMI_BY_FILE_NAME;
        transport.answer(whole[0] == 9 ? uploadRequest : fileRequest(whole[0]), response);
        memset(buffer, 0xEE, sizeof buffer);
        std::string now = ask(whole[0]) + " " + joined();
        const std::string number = formatted("(%zu)", length);
        now = now.find(number) == std::string::npos ? now : now.replace(now.find(number), number.size(), "(N)");
        changes += now == last ? "" : std::to_string(length) + ": " + now;
        last = now;
        if (now.find("@96") != std::string::npos) {
            EXPECT_EQ(Bytes(buffer + 80, buffer + 112), cut({response.begin() + 80, length < 96 ? response.begin() + 80 : response.end()}, 32));
        }
    }
    return changes;
}

} // namespace

TEST(Exchange, AttemptsInWrongNumberOrOrder)
{
    ScriptedTransport transport;
    std::string expected;
    for (int i = 1; i <= 21; ++i) {
        if (i % 2 == 0) {
            transport.sendFails(histogramRequest, -i);
            expected += formatted("send|sleep 100000|ERROR error on IPC send, retrying, ret %d\n|", -i);
        } else {
            transport.receiveFails(histogramRequest, i == 1 ? 1501 : -i); // no message is longer than 1500 bytes
            expected += formatted("send|receive|sleep 100000|ERROR error on IPC received, retrying, bytesRead %d\n|", -i);
        }
        if (i == 10) {
            transport.answer(histogramRequest, {}); // an empty response is one
            expected += "send|receive|";
        }
    }
    EXPECT_EQ(rtosCall(&connection, histogramRequest.data(), 12, buffer), 0);
    EXPECT_EQ(rtosCall(&connection, histogramRequest.data(), 12, buffer), -1);
    EXPECT_EQ(joined(), expected + "ERROR exhausted retries on IPC exchange, exiting\n|");
}

TEST(Exchange, DumpDiffersOrMissingForFailedSend)
{
    ScriptedTransport transport;
    transport.answer(histogramRequest, counted(34));
    transport.sendFails(histogramRequest, -1);
    transport.receiveFails(histogramRequest, -1);
    transport.answer(histogramRequest, counted(34));
    transport.answer({}, {});
    const std::string printed = printedBy([] {
        for (const auto &[level, bytes] : {std::pair(UTIL_LOG_LEVEL_INFO, 12), {UTIL_LOG_LEVEL_TRACE, 12}, {UTIL_LOG_LEVEL_TRACE, 0}}) {
            g_logLevel = level;
            rtosCall(&connection, histogramRequest.data(), bytes, buffer);
        }
    });
    const std::string sent = "\nSnd :\n[00000/00012]: 0a 00 00 00  01 00 00 00   00 00 00 00 \n";
    EXPECT_EQ(printed, sent + sent + "\nRcv :\n" + sent +
                  "\nRcv :\n[00000/00034]: 01 02 03 04  05 06 07 08   09 0a 0b 0c  0d 0e 0f 10    "
                  "11 12 13 14  15 16 17 18   19 1a 1b 1c  1d 1e 1f 20   \n[00032/00034]: 21 22\n\nSnd :\n\nRcv :\n");
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
    g_debug_level = 0;
}

TEST(TypedResponse, ResponseJudgedWrong)
{
    g_logLevel = UTIL_LOG_LEVEL_WARNING;
    const std::string once = " send|receive|", discarded = once + "ERROR Invalid response size (N), discarding\n|";
    const std::string noFile = once + "WARN Invalid content type (-1), inferring FILE NOT_FOUND\n|";
    const std::string noGumi = once + "WARN Insufficient response size (N), invalidating GUMIs\n|";
    const std::string refused = once + "ERROR error on IPC received, exiting, status ";
    const std::pair<uint32_t, std::string> failures[] = {{2, " 0...."}, {4, " 00..."}, {8, " ....."}, {7, " 0..00"}, {9, " ....."}};
    for (const auto &[command, out] : failures) {
        const std::string tooShort = "0: 500" + out + discarded + "20: ";
        EXPECT_EQ(lengths(answer(command, 1)), tooShort + "503" + out + once);
        EXPECT_EQ(lengths(answer(command, 2)), tooShort + "503" + out + once);
        EXPECT_EQ(lengths(answer(command, 3)), tooShort + "404" + out + refused + "3\n|");
        EXPECT_EQ(lengths(answer(command, 4)), tooShort + "404" + out + once);
        EXPECT_EQ(lengths(answer(command, 5)), tooShort + "500" + out + refused + "5\n|");
        EXPECT_EQ(lengths(answer(command, 6)), tooShort + "500" + out + refused + "6\n|");
    }
    const std::string videoLost = "0: 500 00..." + discarded, gumiLost = "0: 500 0..00" + discarded;
    EXPECT_EQ(lengths(answer(2, 0, 4)), "0: 500 0...." + discarded + "80: 200 @20...." + once);
    EXPECT_EQ(lengths(answer(2, 0, -1)), "0: 500 0...." + discarded + "80: 404 0...." + noFile);
    EXPECT_EQ(lengths(answer(4, 0, 4)), videoLost + "80: 200 @20@80..." + once);
    EXPECT_EQ(lengths(answer(4, 0, -1)), videoLost + "80: 404 00..." + noFile);
    EXPECT_EQ(lengths(answer(4, 0, 3)), videoLost + "104: 200 @20@80..." + once);
    EXPECT_EQ(lengths(answer(4, 0, 0, 3)), videoLost + "116: 200 @20@80..." + once);
    EXPECT_EQ(lengths(answer(4, 0, 1, 0x40000000)), videoLost);
    EXPECT_EQ(lengths(answer(8, 0, -1)), "0: 500 ....." + discarded + "48: 200 ..@20.." + once);
    EXPECT_EQ(lengths(answer(7, 0)), gumiLost + "80: 200 @20..@80@96" + noGumi + "96: 200 @20..@80@96" + once);
    EXPECT_EQ(lengths(answer(7, 0, 0, 0, ~1u)), gumiLost + "80: 200 @20..@800" + noGumi + "96: 200 @20..@800" + once);
    EXPECT_EQ(lengths(answer(7, 0, -1)), gumiLost + "80: 404 0..00" + noFile);
    EXPECT_EQ(lengths(answer(9, 0)), "0: 500 ....." + discarded + "20: 200 ....." + once);
}

TEST(TypedResponse, FieldsLoggedWrong)
{
    g_logLevel = UTIL_LOG_LEVEL_DEBUG;
    ScriptedTransport transport;
    transport.answer(uploadRequest, message(db_response_header{9, 0, 3, 4, 0xC0FFEE}), true);
    transport.answer(uploadRequest, message(db_response_header{9, 0, 3, 4, 0xC0FFEE}), true);
    EXPECT_EQ(ask(9), "200 .....");
    EXPECT_EQ(buffer[offsetof(db_response_header, count_returned)], 1);
    const uint32_t ownToken = transport.lastToken;
    EXPECT_EQ(dbSetUploadStatus("100MOXEL", "MOXE0001.MP4", 30, 0x600df00d), 0);
    const char *pRequest = "DEBUG Request: command_type 9\n|DEBUG          request_count 1\n|DEBUG          token 0x%08X\n|";
    const std::string answered = "send|receive|DEBUG ResponseHeader: command_type 9\n|DEBUG                 status 0\n|"
                             "DEBUG                 count_returned 3\n|DEBUG                 rtos_db_version 4\n|"
                             "DEBUG                 token 0x00C0FFEE\n|";
    EXPECT_EQ(joined(), formatted(pRequest, ownToken) + answered + formatted("WARN Tokens don't match 12648430 %d|", ownToken) +
       "WARN command 9 requested 1, response returned 3, setting response returned to 1\n|init|" + formatted(pRequest, 0x600df00d) +
       "DEBUG          dir_name 100MOXEL\n|DEBUG          file_name MOXE0001.MP4\n|DEBUG          upload_status 30\n|" + answered + "destroy|");
}

TEST(UploadStatus, AnswerJudgedWrong)
{
    g_logLevel = UTIL_LOG_LEVEL_WARNING;
    const auto expectCounters = [](size_t length, uint32_t status, const Bytes &wanted, const std::string &logged) {
        const Bytes response = cut(message(responseHeader(10, status, 77), counted(128)), length);
        ScriptedTransport transport;
        transport.answer(message(fileRequest(9), ~0u), response, true);
        transport.answer(histogramRequest, response, true);
        Bytes counters(128, 0xEE);
        EXPECT_EQ(dbSetUploadStatus("100MOXEL", "MOXE0001.MP4", ~0u, 0), 0);
        EXPECT_EQ(dbGetUploadStatusHistogram(5, nullptr, reinterpret_cast<db_upload_histogram *>(counters.data())), 0);
        EXPECT_EQ(transport.lastToken, 5u);
        EXPECT_EQ(counters, wanted);
        EXPECT_EQ(joined(), "init|send|receive|" + logged + "destroy|init|send|receive|" + logged + "destroy|");
    };
    expectCounters(19, 0, Bytes(128, 0xEE), "sleep 100000|WARN 19 bytes received, expecting 20, retrying\n|");
    expectCounters(20, 0, Bytes(128), "");
    expectCounters(33, 0, cut(counted(13), 128), "");
    expectCounters(28, 4, cut(counted(8), 128), "sleep 100000|WARN error on IPC received, retrying, status 4\n|");
    expectCounters(1500, 0, counted(128), "");
}

TEST(UploadStatus, FailureReportedWrong)
{
    g_logLevel = UTIL_LOG_LEVEL_ERROR;
    const auto set = [](const char *pDir, const char *pFile) {return dbSetUploadStatus(pDir, pFile, 30, 0); };
    db_upload_histogram histogram;
    ScriptedTransport transport;
    EXPECT_EQ(dbSetUploadStatus("100MOXE", "MOXE0001.MP4", 1, 0), -1);
    EXPECT_EQ(dbSetUploadStatus("100MOXEL", "MOXE00001.MP4", 1, 0), -1);
    EXPECT_EQ(joined(), "");
    transport.openFails(-5);
    transport.openFails(-5);
    EXPECT_EQ(dbSetUploadStatus("100MOXEL", "MOXE0001.MP4", 30, 0), -1);
    EXPECT_EQ(dbGetUploadStatusHistogram(0, nullptr, &histogram), -1);
    const std::string notOpen = "init|ERROR mxIpcInit fail, ret -5\n|ERROR Failed to ininialize IPC: -1\n|";
    EXPECT_EQ(joined(), notOpen + notOpen);
    for (int i = 0; i < 33; ++i) {
        transport.sendFails(i < 22 ? uploadRequest : histogramRequest, -2);
    }
    EXPECT_EQ(upload.pAsk(), "500");
    EXPECT_EQ(dbSetUploadStatus("100MOXEL", "MOXE0001.MP4", 30, 0), -1);
    EXPECT_EQ(dbGetUploadStatusHistogram(0, nullptr, &histogram), -1);
    EXPECT_EQ(joined(effectsOf("ERROR Inv")) + joined(effectsOf("ERROR RTOS")), "ERROR Invalid response size (-1), discarding\n|ERROR RTOS transaction failed.\n|ERROR RTOS transaction failed.\n|");
}
