// The output buffers and the field writers.
#include <gtest/gtest.h>
#include <regex>

#include "effects.h"
#include "fieldFormatters.h"
#include "mxMediaDBOutput.h"
#include "records.h"

namespace
{

unsigned failingAllocations = 0; // which of the next allocations fail, a bit each

struct Output : testing::Test {
    /** What a writer writes into an empty entry buffer, in single quotes, and its status. */
    template <typename Writer, typename... Arguments>
    std::string written(Writer writer, const Arguments &...arguments)
    {
        discardEntry(&output);
        const int result = writer(&output, arguments...);
        return std::regex_replace(output.localEntryBuffer, std::regex("\""), "'") + formatted(" %d|", result);
    }

    mxMediaDBOutput output;
    const int constructed = mxMediaDBOutputCtor(&output, nullptr);
    const std::unique_ptr<mxMediaDBOutput, void (*)(mxMediaDBOutput *)> guard{&output, mxMediaDBOutputDtor};
    int status = 200;
};

} // namespace

extern "C" void *__real_calloc(size_t count, size_t size);
extern "C" void *__wrap_calloc(size_t count, size_t size)
{
    const bool fails = (failingAllocations & 1u) != 0;
    failingAllocations >>= 1;
    return fails ? nullptr : __real_calloc(count, size);
}

TEST_F(Output, LimitOffByOneOrOldTextNotCounted)
{
    // After a refusal the buffer's text still counts, and the next text goes to `back`.
    const auto expectLimit = [this](outputBuffer buffer, size_t limit, const char *pStart, char *const &pPosition,
                                    size_t back, const std::string &refusal) {
        const std::string most(limit - 1, 'a');
        std::string told;
        effects().clear();
        for (const std::string &text : {most, std::string("bc"), std::string("de"), std::string("f")}) {
            status = 200;
            boundedWrite(&output, buffer, &status, "caller", 7, "%s", text.c_str());
            told += formatted("%d %td ", status, pPosition - pStart);
        }
        EXPECT_EQ(told, formatted("200 %zu 500 %zu 500 %zu 200 %zu ", limit - 1, back, back, back + 1));
        EXPECT_EQ(joined(), refusal + refusal);
        EXPECT_EQ(pStart, most.substr(0, back) + "f");
    };
    expectLimit(OUTPUT_BUFFER_ENTRY, 1536, output.localEntryBuffer, output.localEntryPos, 0,
                "ERROR 1537 > 1536, entry buff exceeded, caller:7\n|");
    expectLimit(OUTPUT_BUFFER_DIRECTORY, 65536, output.localDirectoryBuffer, output.localDirectoryPos, 0,
                "ERROR 65537 > 65536, dir buff exceeded, caller:7\n|");
    expectLimit(OUTPUT_BUFFER_LOCAL, 131072, output.localBuffer, output.localBufferPos, 131071,
                "ERROR exceeded buffer length for mxoutput 131073, caller:7\n|");
}

TEST_F(Output, FlushReadsTextAsFormatOrLeavesEntry)
{
    appendDirectory(&output, &status, "{");
    appendEntry(&output, &status, "%s", "100%s%n%");
    flushEntry(&output, &status);
    flushDirectory(&output, &status);
    EXPECT_STREQ(output.localBuffer, "{100%s%n%");
    appendDirectory(&output, &status, "%65527d", 7); // what was flushed counts as well
    EXPECT_EQ(status, 200);
    EXPECT_EQ(strlen(output.localDirectoryBuffer), 65527u);
    appendEntry(&output, &status, "%10d", 7);
    flushEntry(&output, &status);
    EXPECT_EQ(status, 500) << "an entry that does not fit";
    EXPECT_EQ(std::string(output.localEntryPos, 1537), std::string(1537, '\0'));
}

TEST(OutputAllocation, FailureLeaksOrStopsEarly)
{
    const char *names[] = {"localBuffer", "localDirectoryBuffer", "localEntryBuffer"};
    for (unsigned failing = 1; failing < 8; ++failing) {
        std::string expected;
        for (unsigned i = 0; i < 3; ++i) {
            expected += failing >> i & 1 ? formatted("ERROR malloc %s failed medialist\n|", names[i]) : "";
        }
        mxMediaDBOutput output;
        effects().clear();
        failingAllocations = failing | 8;
        EXPECT_EQ(mxMediaDBOutputCtor(&output, nullptr), -1);
        EXPECT_EQ(failingAllocations, 1u) << "not three allocations";
        EXPECT_EQ(joined(), expected);
        EXPECT_EQ(message(output), message(mxMediaDBOutput{}));
        mxMediaDBOutputDtor(&output);
    }
    effects().clear();
    failingAllocations = 4;
    EXPECT_EQ(printedBy([] { EXPECT_EQ(generateMetadata(nullptr, "t=dur&p=a/MOXE0001.MP4"), -1); }),
              "HTTP/1.1 500 \r\nContent-Type: application/json\r\n\r\n");
    EXPECT_EQ(joined(), "ERROR malloc localEntryBuffer failed medialist\n|ERROR mxMediaDBOutputCtor ret < 0|");
}

TEST_F(Output, FieldsDifferOrRefusalStopsThem)
{
    db_content_info info = contentInfo(0, fileSpec(), UINT32_MAX, 0xFFFFFFFF);
    info.size = UINT64_MAX;
    info.uploadStatus = 30;
    EXPECT_EQ(written(formatContentInfo, UINT32_MAX, &info),
              "'n':'MOXE0001.MP4','mod':'2000','cre':'1000','s':'18446744073709551615','hc':'4294967295','us':'30',"
              "'eis':'1','wdr':'1','zta':'1','ao':'auto','raw':'1','tr':'1','mp':'1' 200|");
    std::string flags, durations;
    for (const uint32_t bits :
         {0x2u, 0x4u, 0x8u, 0x10u, 0x20u, 0x60u, 0x80u, 0x100u, 0x200u, 0x400u, 0x800u, ~0xFFEu}) {
        info.mediaProperties = bits;
        flags += formatted("%x ", bits);
        for (uint32_t field = FIELD_EIS; field <= FIELD_MP; field *= 2) {
            flags += written(formatContentInfo, field, &info);
        }
    }
    EXPECT_EQ(std::regex_replace(flags, std::regex("'[a-z]+':'(0|off)' 200.| 200"), ""),
              "2 'eis':'1'|4 'zta':'1'|8 'zta':'1'|10 'zta':'1'|20 'ao':'stereo'|60 'ao':'wind'|80 'ao':'auto'|"
              "100 'wdr':'1'|200 'raw':'1'|400 'tr':'1'|800 'mp':'1'|fffff001 ");

    const uint8_t gumi[] = {0, 1, 0x7F, 0x80, 0xFF, 0xAB, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15}, *pNone = nullptr;
    EXPECT_EQ(written(formatGUMI, FIELD_PGUMI, "", gumi, gumi), "'pgumi':'00017f80ffab060708090a0b0c0d0e0f' 200|");
    EXPECT_EQ(written(formatGUMI, FIELD_PGUMI, "", gumi, pNone), " 200|");
    EXPECT_EQ(written(formatGUMI, FIELD_ALL, "", pNone, gumi), " 200|");

    db_video_specific_info video = {0, 499, 1, 2, 0, 5};
    EXPECT_EQ(written(formatVideoInfo, FIELD_ALL, ",", &video), ",'ls':'-1','cl':'5','hc':'0','hi':[],'dur':'0' 200|");
    EXPECT_EQ(written(formatVideoInfo, FIELD_HC, ",", &video), ",'hc':'0' 200|");
    for (const uint32_t milliseconds : {500u, 1499u, 1500u, UINT32_MAX - 500, UINT32_MAX}) {
        video.duration = milliseconds;
        durations += written(formatVideoInfo, FIELD_DUR, "", &video);
    }
    EXPECT_EQ(durations, "'dur':'1' 200|'dur':'1' 200|'dur':'2' 200|'dur':'4294967' 200|'dur':'0' 200|");
    // 99 highlights are there, in a block of just their size.
    const Bytes record = message(db_video_specific_info{UINT32_MAX, 0, 1, 2, 150, 5}, Bytes(99 * 4, 0xFF));
    const auto *pVideo = reinterpret_cast<const db_video_specific_info *>(record.data());
    EXPECT_EQ(written(formatVideoInfo, FIELD_LS | FIELD_HC | FIELD_HI, "", pVideo),
              "'ls':'4294967295','hc':'150','hi':[4294967295" + times(98, ",4294967295") + "] 200|");

    EXPECT_EQ(written(formatContentInfo, FIELD_ALL, static_cast<db_content_info *>(nullptr)), " 200|");
    EXPECT_EQ(written(formatVideoInfo, FIELD_ALL, ",", static_cast<db_video_specific_info *>(nullptr)), " 200|");
    appendEntry(&output, &status, "%1523d", 7);
    EXPECT_EQ(formatContentInfo(&output, FIELD_N | FIELD_MOD, &info), 500);
    EXPECT_STREQ(output.localEntryBuffer, ",\"mod\":\"2000\"");
}
