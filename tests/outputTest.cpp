// The output buffers and the field writers.
#include <gtest/gtest.h>

#include "effects.h"
#include "fieldFormatters.h"
#include "mxMediaDBOutput.h"
#include "records.h"

namespace
{

// Which of the next allocations fail, a bit each, and how many have been tried.
unsigned failingAllocations = 0;
int allocations = 0;

} // namespace

extern "C" {
void *__real_calloc(size_t count, size_t size);
void *__wrap_calloc(size_t count, size_t size)
{
    const bool fails = (failingAllocations & 1u) != 0;
    failingAllocations >>= 1;
    ++allocations;
    return fails ? nullptr : __real_calloc(count, size);
}
}

namespace
{

class Output : public testing::Test
{
  protected:
    Output()
    {
        mxMediaDBOutputCtor(&output, nullptr);
        effects().clear();
    }
    ~Output() override
    {
        mxMediaDBOutputDtor(&output);
    }
    void write(outputBuffer buffer, const std::string &text)
    {
        boundedWrite(&output, buffer, &status, "caller", 7, "%s", text.c_str());
    }
    std::string entry() const
    {
        return output.localEntryBuffer;
    }
    /** What a writer writes into an empty entry buffer, its status behind it. */
    template <typename Writer, typename... Arguments>
    std::string written(Writer writer, const Arguments &...arguments)
    {
        discardEntry(&output);
        const int result = writer(&output, arguments...);
        return entry() + " " + std::to_string(result);
    }

    mxMediaDBOutput output;
    int status = 200;
};

struct BufferCase {
    outputBuffer buffer;
    size_t limit;
    char *mxMediaDBOutput::*start;
    char *mxMediaDBOutput::*position;
    const char *refusal;
    bool goesBack;
};

const BufferCase bufferCases[] = {
    {OUTPUT_BUFFER_ENTRY, 1536, &mxMediaDBOutput::localEntryBuffer, &mxMediaDBOutput::localEntryPos,
     "ERROR 1537 > 1536, entry buff exceeded, caller:7\n", true},
    {OUTPUT_BUFFER_DIRECTORY, 65536, &mxMediaDBOutput::localDirectoryBuffer, &mxMediaDBOutput::localDirectoryPos,
     "ERROR 65537 > 65536, dir buff exceeded, caller:7\n", true},
    {OUTPUT_BUFFER_LOCAL, 131072, &mxMediaDBOutput::localBuffer, &mxMediaDBOutput::localBufferPos,
     "ERROR exceeded buffer length for mxoutput 131073, caller:7\n", false},
};

} // namespace

TEST_F(Output, LimitOffByOne)
{
    for (const BufferCase &row : bufferCases) {
        status = 200;
        effects().clear();
        write(row.buffer, std::string(row.limit - 1, 'a'));
        write(row.buffer, "b");
        EXPECT_EQ(status, 200) << row.refusal;
        EXPECT_EQ(effects(), Lines{});
        write(row.buffer, "c");
        EXPECT_EQ(status, 500);
        EXPECT_EQ(effects(), Lines{row.refusal});
        EXPECT_EQ(output.*row.start, std::string(row.limit - 1, 'a') + "b");
        EXPECT_EQ(output.*row.position, output.*row.start + (row.goesBack ? 0 : row.limit)) << row.refusal;
    }
}

TEST_F(Output, OldTextNotCountedAfterRefusal)
{
    write(OUTPUT_BUFFER_ENTRY, std::string(1535, 'a'));
    write(OUTPUT_BUFFER_ENTRY, "refused");
    write(OUTPUT_BUFFER_ENTRY, "bc");
    EXPECT_EQ(entry(), std::string(1535, 'a'));
    write(OUTPUT_BUFFER_ENTRY, "d");
    write(OUTPUT_BUFFER_ENTRY, "ef");
    EXPECT_EQ(entry(), "def");
    EXPECT_EQ(status, 500);
}

TEST_F(Output, FlushReadsTextAsFormatOrLeavesEntry)
{
    write(OUTPUT_BUFFER_DIRECTORY, "{");
    write(OUTPUT_BUFFER_ENTRY, "100%s%n%");
    flushEntry(&output, &status);
    flushDirectory(&output, &status);
    EXPECT_STREQ(output.localBuffer, "{100%s%n%");
    EXPECT_EQ(status, 200);
    EXPECT_EQ(output.localDirectoryPos, output.localDirectoryBuffer);
    EXPECT_STREQ(output.localDirectoryBuffer, "{100%s%n%");

    write(OUTPUT_BUFFER_DIRECTORY, std::string(65536 - 9, 'a')); // what was flushed counts as well
    write(OUTPUT_BUFFER_ENTRY, "0123456789");
    flushEntry(&output, &status);
    EXPECT_EQ(status, 500) << "an entry that does not fit";
    EXPECT_EQ(std::string(output.localEntryBuffer, 1537), std::string(1537, '\0'));
    EXPECT_EQ(output.localEntryPos, output.localEntryBuffer);
}

TEST(OutputAllocation, FailureLeaksOrStopsEarly)
{
    const Lines messages = {"ERROR malloc localBuffer failed medialist\n",
                            "ERROR malloc localDirectoryBuffer failed medialist\n",
                            "ERROR malloc localEntryBuffer failed medialist\n"};
    for (unsigned failing = 1; failing < 8; ++failing) {
        effects().clear();
        Lines expected;
        for (unsigned i = 0; i < 3; ++i) {
            if (failing >> i & 1u) {
                expected.push_back(messages[i]);
            }
        }
        mxMediaDBOutput output;
        allocations = 0;
        failingAllocations = failing;
        EXPECT_EQ(mxMediaDBOutputCtor(&output, &output), -1);
        EXPECT_EQ(allocations, 3);
        EXPECT_EQ(effects(), expected);
        for (char *pText : {output.localBuffer, output.localBufferPos, output.localDirectoryBuffer,
                            output.localDirectoryPos, output.localEntryBuffer, output.localEntryPos}) {
            EXPECT_EQ(pText, nullptr);
        }
        mxMediaDBOutputDtor(&output);
    }
    effects().clear();
    failingAllocations = 4;
    EXPECT_EQ(printedBy([] { EXPECT_EQ(generateMetadata(nullptr, "t=dur&p=a/MOXE0001.MP4"), -1); }),
              "HTTP/1.1 500 \r\nContent-Type: application/json\r\n\r\n");
    EXPECT_EQ(effects(), (Lines{messages[2], "ERROR mxMediaDBOutputCtor ret < 0"}));
}

TEST_F(Output, ContentInfoFieldsDiffer)
{
    db_content_info info = contentInfo(0, fileSpec("100MOXEL", "MOXE0001.MP4"), UINT32_MAX, 0xFFFFFFFF);
    info.size = UINT64_MAX;
    info.uploadStatus = 30;
    EXPECT_EQ(written(formatContentInfo, UINT32_MAX, &info),
              "\"n\":\"MOXE0001.MP4\",\"mod\":\"2000\",\"cre\":\"1000\",\"s\":\"18446744073709551615\","
              "\"hc\":\"4294967295\",\"us\":\"30\",\"eis\":\"1\",\"wdr\":\"1\",\"zta\":\"1\",\"ao\":\"auto\","
              "\"raw\":\"1\",\"tr\":\"1\",\"mp\":\"1\" 200");
    EXPECT_EQ(written(formatContentInfo, FIELD_NONE, &info), " 200");
    EXPECT_EQ(written(formatContentInfo, FIELD_ALL, static_cast<db_content_info *>(nullptr)), " 200");

    // Each flag follows its own bits and no other.
    const struct {
        uint32_t field;
        uint32_t bits;
        std::string key;
    } flags[] = {{FIELD_EIS, 0x2, "eis"},   {FIELD_WDR, 0x100, "wdr"}, {FIELD_ZTA, 0x1C, "zta"},
                 {FIELD_RAW, 0x200, "raw"}, {FIELD_TR, 0x400, "tr"},   {FIELD_MP, 0x800, "mp"}};
    for (const auto &[field, bits, key] : flags) {
        info.mediaProperties = bits & (0 - bits);
        EXPECT_EQ(written(formatContentInfo, field, &info), "\"" + key + "\":\"1\" 200");
        info.mediaProperties = ~bits;
        EXPECT_EQ(written(formatContentInfo, field, &info), "\"" + key + "\":\"0\" 200");
    }
    const std::pair<uint32_t, const char *> options[] = {
        {0xFFFFFF1F, "off"}, {0x20, "stereo"}, {0x60, "wind"}, {0xA0, "auto"}};
    for (const auto &[bits, word] : options) {
        EXPECT_STREQ(audioOptionWord(bits), word);
    }
}

TEST_F(Output, GumiTurnedRoundOrMissedParentWritten)
{
    const uint8_t gumi[] = {0, 1, 0x7F, 0x80, 0xFF, 0xAB, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15};
    const uint8_t *pNone = nullptr;
    EXPECT_EQ(written(formatGUMI, FIELD_PGUMI, "", gumi, gumi), "\"pgumi\":\"00017f80ffab060708090a0b0c0d0e0f\" 200");
    EXPECT_EQ(written(formatGUMI, FIELD_PGUMI, "", gumi, pNone), " 200");
    EXPECT_EQ(written(formatGUMI, FIELD_ALL, "", pNone, gumi), " 200");
}

TEST_F(Output, VideoInfoFieldsDifferOrListTooLong)
{
    db_video_specific_info video = {0, 499, 1, 2, 0, 5};
    EXPECT_EQ(written(formatVideoInfo, FIELD_ALL, ",", &video),
              ",\"ls\":\"-1\",\"cl\":\"5\",\"hc\":\"0\",\"hi\":[],\"dur\":\"0\" 200");
    EXPECT_EQ(written(formatVideoInfo, FIELD_HC, ",", &video), ",\"hc\":\"0\" 200");
    EXPECT_EQ(written(formatVideoInfo, FIELD_ALL, ",", static_cast<db_video_specific_info *>(nullptr)), " 200");
    const std::pair<uint32_t, const char *> durations[] = {
        {500, "1"}, {1499, "1"}, {1500, "2"}, {UINT32_MAX - 500, "4294967"}, {UINT32_MAX, "0"}};
    for (const auto &[milliseconds, seconds] : durations) {
        video.duration = milliseconds;
        EXPECT_EQ(written(formatVideoInfo, FIELD_DUR, "", &video), std::string("\"dur\":\"") + seconds + "\" 200");
    }

    // 99 highlights are there, in a block of just their size.
    video.lrv_size = UINT32_MAX;
    video.highlight_count = 150;
    Bytes record = message(video);
    std::string members;
    for (uint32_t i = 0; i < 99; ++i) {
        record << UINT32_MAX - i;
        members += (i == 0 ? "" : ",") + std::to_string(UINT32_MAX - i);
    }
    const auto block = std::make_unique<uint8_t[]>(record.size());
    memcpy(block.get(), record.data(), record.size());
    EXPECT_EQ(written(formatVideoInfo, FIELD_LS | FIELD_HC | FIELD_HI, "",
                      reinterpret_cast<db_video_specific_info *>(block.get())),
              "\"ls\":\"4294967295\",\"hc\":\"150\",\"hi\":[" + members + "] 200");
}

TEST_F(Output, RefusedFieldStopsWalkOrKeepsSeparator)
{
    const db_content_info info = contentInfo(0);
    write(OUTPUT_BUFFER_ENTRY, std::string(1536 - 13, 'a'));
    EXPECT_EQ(formatContentInfo(&output, FIELD_N | FIELD_MOD, &info), 500);
    EXPECT_EQ(entry(), ",\"mod\":\"2000\"");
    EXPECT_EQ(effectsOf("ERROR").size(), 1u);
}
