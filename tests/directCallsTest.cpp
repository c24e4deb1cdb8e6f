#include <gtest/gtest.h>
#include <sys/time.h>

#include "effects.h"
#include "records.h"
#include "utilLog.h"

extern "C" int headerCall(uint32_t command, void *const p[], int count);

using Parts = std::vector<std::pair<size_t, size_t>>; // of a message, each from one place to another

/** One call of the family, with its shortest good answer. */
struct Call {
    const char *pName, *pNulls;
    size_t required; // arguments that must not be null
    void *args[5];
    Bytes request, body;
    Parts parts; // of the answer that are delivered
};

// What the calls write to. Each record has the place here that it has in the answer.
alignas(uint32_t) static uint8_t out[2 * DB_MESSAGE_MAX_BYTES];
const db_file_spec clean = fileSpec("100MOXEL", "A.MP4");
static db_file_spec asked = fileSpec("100MOXEL", {"A.MP4\0x", 7}); // with a byte behind the name
static Bytes askedGumi = gumiOf(9);

// clang-format off
const Call calls[] = {
    {"getContentInfo", "fs = %p, ci = %p", 2, {&asked, out + 20},
     fileRequest(2, clean), message(contentInfo(DB_CONTENT_TYPE_NO_FILE)), {{20, 80}}},
    {"getMoreInfo", "fs = %p, mi = %p", 2, {&asked, out + 20}, fileRequest(8, clean), Bytes(28, 3), {{20, 48}}},
    {"getVideoSpecificInfo", "fs = %p, vsi = %p", 2, {&asked, out + 80, out + 20, out + 104},
     fileRequest(4, clean), message(contentInfo(3), db_video_specific_info{1, 2, 3, 4, 0, 5}), {{20, 104}}},
    {"getGroupContentInfo", "fs = %p, gci = %p, ci = %p", 3, {&asked, out + 80, out + 20, out + 104, out + 112},
     fileRequest(3, clean), message(contentInfo(5), groupInfo(1, 9, 2)), {{20, 104}}},
    {"getGUMIByFileName", "fs = %p, gumi = %p", 2, {&asked, out + 80, out + 96},
     fileRequest(7, clean), gumiOf(1), {{80, 112}}},
    {"getFileNameByGUMI", "fs = %p, gumi = %p", 2, {out + 20, askedGumi.data()},
     message(db_request_header{6, 1, 0}, askedGumi), message(clean), {{20, 40}}},
};
// clang-format on
const Call &info = calls[0], &vsi = calls[2], &gci = calls[3], &gumi = calls[4], &name = calls[5];

// Gives a call its answer; compares its result, the warnings it logs (%d: the request's token), and all that it may
// write to: parts of the answer, or of `image`, with zeros behind its end. No parts: the call fails.
static void expect(const Call &call, const Bytes &answer, const Parts &parts, const std::string &logged = "",
                   int most = 4, const Bytes &image = {})
{
    const Bytes full = cut(image.empty() ? answer : image, sizeof out);
    Bytes wanted(sizeof out, 0xEE);
    for (const auto &[begin, end] : parts) {
        memcpy(&wanted[begin], &full[begin], end - begin);
    }
    ScriptedTransport transport;
    transport.answer(call.request, answer, logged.find("Tokens") != std::string::npos);
    memset(out, 0xEE, sizeof out);
    g_logLevel = UTIL_LOG_LEVEL_WARNING;
    EXPECT_EQ(headerCall(call.request[0], call.args, most), parts.empty() ? -1 : 0) << call.pName;
    EXPECT_EQ(joined(), "init|send|receive|" + formatted(logged.c_str(), transport.lastToken) + "destroy|");
    EXPECT_EQ(message(out), wanted) << call.pName;
}

// A call that begins with nothing closed before it ends 1.2 seconds later, across the border of a second.
extern "C" int gettimeofday(timeval *pNow, void *) noexcept
{
    *pNow = effects().empty() || effects().back() != "destroy" ? timeval{10, 900000} : timeval{12, 100000};
    return 0;
}

TEST(DirectCalls, MemberDiffersFromFamily)
{
    for (const Call &call : calls) {
        const Bytes answer = message(responseHeader(call.request[0]), call.body);
        const int length = static_cast<int>(answer.size());
        expect(call, answer, call.parts);
        const char *pNone =
            "DEBUG highlights %p, maxNumberHighlightsExpected 4, vsi->highlight_count 0 - skipping copy\n|";
        const std::string logged = &call == &vsi ? formatted(pNone, out + 104) : "";
        ScriptedTransport transport;
        transport.openFails(-7);
        transport.answer(call.request, answer);
        transport.answer(call.request, cut(answer, answer.size() - 1));
        transport.sendFails(call.request, -3);
        transport.receiveFails(call.request, 1501);
        g_logLevel = UTIL_LOG_LEVEL_TRACE;
        std::string printed = printedBy([&] {
            for (const int result : {-7, 0, -1, &call == &vsi ? -3 : -1, -1}) {
                EXPECT_EQ(headerCall(call.request[0], call.args, 4), result) << call.pName;
            }
        });
        std::erase_if(printed, [](char one) { return one != 'S' && one != 'R'; });
        EXPECT_EQ(printed, "SRSRSR") << "of dumps, sent and received";
        std::string told = formatted(
            "init|ERROR mxIpcInit fail, ret -7\n|"
            "init|send|receive|DEBUG %s got %d bytes\n|DEBUG ResponseHeader: command_type %d\n|"
            "DEBUG                 status 0\n|DEBUG                 count_returned 1\n|"
            "DEBUG                 rtos_db_version 4\n|%sdestroy|DEBUG time 1 sec, 200000 usec\n|"
            "init|send|receive|DEBUG %s got %d bytes\n|ERROR error on IPC received %d, exiting\n|destroy|"
            "init|send|ERROR error on IPC send -3\n|destroy|"
            "init|send|receive|DEBUG %s got -1 bytes\n|ERROR error on IPC received -1, exiting\n|destroy|",
            call.pName, length, call.request[0], logged.c_str(), call.pName, length - 1, length - 1, call.pName);
        for (size_t i = 0; i < call.required; ++i) {
            Call less = call;
            less.args[i] = nullptr;
            EXPECT_EQ(headerCall(call.request[0], less.args, 4), -1) << call.pName;
            told += "ERROR Invalid input: " + formatted(call.pNulls, less.args[0], less.args[1], less.args[2]) + "\n|";
        }
        EXPECT_EQ(joined(), told);
    }
}

TEST(DirectCalls, HeaderOrTypeJudgedWrongly)
{
    const std::string status = "WARN mxIpcReceive response status ", token = "WARN Tokens don't match 0 %d|";
    const std::string none = "ERROR mxIpcReceive response count_returned 0 - returning -1\n|";
    const std::string returned = "ERROR command 2 requested 1, response returned ";
    const std::string first = ", setting response returned to 1\n|"
                              "ERROR mxIpcReceive response count_returned 1 - using first\n|";
    const auto told = [](uint32_t code, uint32_t count) { return message(responseHeader(2, code, count), info.body); };
    expect(info, told(4, 1), info.parts, status + "4\n|");
    expect(info, told(0, 2), info.parts, returned + "2" + first);
    expect(info, told(UINT32_MAX, UINT32_MAX), info.parts, status + "-1\n|" + token + returned + "-1" + first);
    expect(info, told(5, 0), {}, status + "5\n|" + token + none);
    for (const db_content_type type : {INT32_MIN, -1, 4, 7, 12}) {
        const Bytes answer = message(responseHeader(0), contentInfo(type), Bytes(24));
        const std::string wrong = formatted("ERROR struct db_content_type %d - must be ", type);
        expect(vsi, answer, {}, wrong + "video for operation\n|");
        expect(gci, answer, {}, wrong + "group content for operation\n|");
    }
}

TEST(DirectCalls, TailCopiedWrongly)
{
    const auto marks = [](uint32_t count, size_t bytes) {
        return message(responseHeader(4), contentInfo(0), db_video_specific_info{1, 2, 3, 4, count, 5}, counted(bytes));
    };
    Call alone = vsi;
    alone.args[2] = alone.args[3] = nullptr;
    expect(vsi, marks(4, 15), {}, "ERROR response of 119 bytes does not hold 4 highlights\n|");
    expect(vsi, marks(349, 1396), {{20, 1500}}, "", 349);
    expect(vsi, marks(4, 17), {{20, 120}}, "", 100);
    expect(vsi, marks(4, 16), {{20, 116}}, "", 3);
    expect(vsi, marks(4, 16), {{20, 108}}, "", 1);
    expect(vsi, marks(4, 16), {{20, 104}}, "", -1);
    expect(alone, marks(4, 16), {{80, 104}});

    const auto masks = [](uint32_t first, uint32_t last, uint32_t missing, uint32_t highlights, size_t bytes) {
        const db_content_info record = contentInfo(10, asked, highlights);
        return message(responseHeader(3), record, groupInfo(1, first, last, missing), counted(bytes));
    };
    const std::string lost = " bytes does not hold the masks of numbers ";
    Call call = gci; // its highlight mask is at 112
    expect(call, masks(0, 32, 1, 1, 16), {{20, 109}, {112, 117}});
    expect(call, masks(7, 7, 2, 0, 4), {{20, 105}});
    expect(call, masks(0, 11167, 1, 0, 1396), {{20, 1500}});
    expect(call, masks(0, UINT32_MAX, 0, 0, 0), {{20, 104}});
    expect(call, masks(0, 32, 1, 0, 7), {}, "ERROR response of 111" + lost + "0 to 32\n|");
    expect(call, masks(0, 32, 1, 1, 15), {}, "ERROR response of 119" + lost + "0 to 32\n|");
    expect(call, masks(1, 0, 1, 0, 1396), {}, "ERROR response of 1500" + lost + "1 to 0\n|");
    call.args[4] = out + 104;
    expect(call, masks(1, 9, 0, 2, 4), {{20, 106}});
    call.args[3] = call.args[4] = nullptr;
    expect(call, masks(0, 32, 1, 1, 16), {{20, 104}});
}

TEST(DirectCalls, GumiOrNameNotCutOrFilledUp)
{
    Call alone = gumi;
    alone.args[2] = nullptr;
    for (const size_t length : {79u, 80u, 81u, 96u, 97u, 112u, 113u}) {
        for (const uint32_t properties : {0xFFFu, 0xFFEu}) {
            const db_content_info record = contentInfo(0, asked, 0, properties);
            const Bytes answer = cut(message(responseHeader(7), record, gumiOf(1), gumiOf(2)), length);
            expect(gumi, answer, {{80, 112}}, "", 0, (properties & 1) != 0 ? answer : cut(answer, 96));
            expect(alone, answer, {{80, 96}});
        }
    }
    expect(name, message(responseHeader(6), asked), {{20, 40}}, "", 0, message(responseHeader(6), clean));
}
