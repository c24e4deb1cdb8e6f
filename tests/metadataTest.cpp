// Whole documents about one file, and the failures that leave only a head.
#include <regex>

#include "fieldFormatters.h"
#include "listing.h"

const auto refusal = [](uint32_t status) { return message(responseHeader(0, status)); };

static Bytes gumi(db_content_type type, uint32_t properties = 0)
{
    return message(responseHeader(7), contentInfo(type, fileSpec(), 6, properties), gumiOf(0xAB), gumiOf(0x01));
}

static Bytes video(db_content_type type, const Bytes &highlights = {}, uint32_t duration = 1500, uint32_t lrvSize = 7)
{
    const db_video_specific_info record = {lrvSize, duration, 41, 100, static_cast<uint32_t>(highlights.size()) / 4, 1};
    return message(responseHeader(4), contentInfo(type), record, highlights);
}

const Bytes more = message(responseHeader(8), db_more_info{1920, 1080, 30000, 1001, 1, 0, 9});
const std::string format = ",'w':'1920','h':'1080','fps':'30000','fps_denom':'1001','prog':'1','subsample':'0'}\r\n";

struct Metadata : ListTest {
    /** Status and document, in single quotes, errors and warnings that follow these exchanges. */
    std::string reply(const std::string &query, const std::vector<std::pair<uint8_t, Bytes>> &exchanges)
    {
        for (const auto &[command, response] : exchanges) {
            transport.answer(command == 9 ? message(fileRequest(9), 5) : fileRequest(command), response);
        }
        effects().clear();
        g_logLevel = UTIL_LOG_LEVEL_WARNING;
        const std::string text = answer(generateMetadata, ("p=100MOXEL/MOXE0001.MP4&t=" + query).c_str());
        const std::regex head("^HTTP/1.1 ([0-9]+ )\r\nContent-Type: application/json\r\n\r\n"), quote("\"");
        return std::regex_replace(std::regex_replace(text, head, "$1"), quote, "'") + joined(effectsOf("ERROR")) +
               joined(effectsOf("WARN"));
    }
    ScriptedTransport transport;
};

TEST_F(Metadata, V4InfoKeysOfATypeOrProperty)
{
    const std::string one = "'gumi':'abababababababababababababababab'";
    const std::string clip = one + ",'pgumi':'01010101010101010101010101010101'";
    const std::string start = "200 {'cre':'1000','s':'3000',";
    const std::string rest = ",'ls':'7','cl':'1','hc':'2','hi':[3,4],'dur':'2'" + format;
    // Properties, of which no two are set in the same rows; what a video tells of them, and another file; GUMIs.
    const std::tuple<uint32_t, std::string, std::string, std::string> cases[] = {
        {0x526, "'eis':'1','zta':'1','ao':'stereo','tr':'1','mp':'0',", "'eis':'1','wdr':'1','raw':'0','tr':'1',", one},
        {0x969, "'eis':'0','zta':'1','ao':'wind','tr':'0','mp':'1',", "'eis':'0','wdr':'1','raw':'0','tr':'0',", clip},
        {0xE90, "'eis':'0','zta':'1','ao':'auto','tr':'1','mp':'1',", "'eis':'0','wdr':'0','raw':'1','tr':'1',", one},
        {~0xFFEu, "'eis':'0','zta':'0','ao':'off','tr':'0','mp':'0',", "'eis':'0','wdr':'0','raw':'0','tr':'0',", clip},
    };
    for (const auto &[properties, ofVideo, ofOther, gumis] : cases) {
        const std::string film = start + "'us':'0'," + ofVideo + gumis;
        const std::string other = start + "'hc':'6','us':'0'," + ofOther + gumis;
        for (const db_content_type type : {0, 1, 2, 3}) {
            EXPECT_EQ(reply("v4info", {{7, gumi(type, properties)}, {4, video(type, message(3, 4))}, {8, more}}),
                      film + rest);
        }
        for (const db_content_type type : {4, 5, 6, 8, 9, 10, 11}) {
            EXPECT_EQ(reply("v4info", {{7, gumi(type, properties)}, {8, more}}), other + ",'w':'1920','h':'1080'}\r\n");
        }
        for (const db_content_type type : {7, 12, INT32_MAX, -2}) {
            EXPECT_EQ(reply("v4info", {{7, gumi(type, properties)}}), other + "}\r\n") << type;
            // It was a video when the first question was answered.
            EXPECT_EQ(reply("v4info", {{7, gumi(0, properties)}, {4, cut(video(type), 80)}}), film + "}\r\n") << type;
        }
    }
}

TEST_F(Metadata, VideoOrUploadDocumentDiffers)
{
    const Bytes tags(150 * sizeof(uint32_t), 1);
    const std::string start = "200 {'dur':'1','c':'1','avc_profile':'100','profile':'41',";
    const std::string members = "16843009" + times(98, ",16843009");
    EXPECT_EQ(reply("videoinfo", {{4, video(3, {}, 1499)}, {8, more}}), start + "'tag_count':0,'tags':[]" + format);
    EXPECT_EQ(reply("videoinfo", {{4, video(3, tags, 1499)}, {8, more}}),
              start + "'tag_count':150,'tags':[" + members + "]" + format);
    EXPECT_EQ(reply("dur&status=3", {{4, video(0, tags)}}), "200 {'dur':'2','c':'1','profile':'41'}\r\n");
    EXPECT_EQ(joined(), "init|send|receive|destroy|");
    const std::string noLrv = reply("v4info", {{7, gumi(0)}, {4, video(0, {}, 1500, 0)}, {8, more}});
    EXPECT_TRUE(noLrv.ends_with(",'ls':'-1','cl':'1','hc':'0','hi':[],'dur':'2'" + format)) << noLrv;
    const std::pair<uint32_t, std::string> seconds[] = {{499, "0"}, {500, "1"}, {~500u, "4294967"}, {~0u, "0"}};
    for (const auto &[duration, told] : seconds) {
        EXPECT_EQ(reply("dur", {{4, video(0, {}, duration)}}), "200 {'dur':'" + told + "','c':'1','profile':'41'}\r\n");
    }

    db_content_info info = contentInfo(11);
    info.uploadStatus = 5;
    const Bytes read = message(responseHeader(2), info);
    EXPECT_EQ(reply("upload", {{2, read}}), "200 {'us':'5'}\r\n");
    EXPECT_EQ(reply("upload&status=5", {{9, refusal(0)}, {2, read}}), "200 {'us':'5'}\r\n");
}

// A full message: more highlights than a document lists, and every number at its widest.
TEST_F(Metadata, WidestDocumentRefused)
{
    db_content_info info = contentInfo(0, fileSpec(), UINT32_MAX, 0xFFFFFF3F);
    info.creation_time = info.uploadStatus = UINT32_MAX;
    info.size = UINT64_MAX;
    const db_video_specific_info widest = {UINT32_MAX, UINT32_MAX - 500, UINT32_MAX, UINT32_MAX, 349, UINT32_MAX};
    const Bytes gumis = message(responseHeader(7), info, gumiOf(1), gumiOf(2));
    const Bytes full = message(responseHeader(4), info, widest, Bytes(349 * sizeof(uint32_t), 0xFF));
    const Bytes wide = message(responseHeader(8), INT32_MIN, INT32_MIN, INT32_MIN, INT32_MIN, INT32_MIN, INT32_MIN, 0);
    EXPECT_EQ(reply("v4info", {{7, gumis}, {4, full}, {8, wide}}).size(), 1490u + 6);
    EXPECT_EQ(reply("videoinfo", {{4, full}, {8, wide}}).size(), 1327u + 6);
}

TEST_F(Metadata, FailureAnsweredInPartOrGoneOn)
{
    EXPECT_EQ(reply("v4info", {{7, refusal(4)}}), "404 ");
    EXPECT_EQ(reply("upload", {{2, refusal(1)}}), "503 ");
    EXPECT_EQ(reply("upload&status=5", {{9, refusal(2)}}), "503 ");
    EXPECT_EQ(reply("v4info", {{7, gumi(0)}, {4, refusal(1)}}), "503 ");
    EXPECT_EQ(reply("v4info", {{7, gumi(4)}, {8, refusal(1)}}), "503 ");
    EXPECT_EQ(reply("videoinfo", {{4, video(0)}, {8, refusal(1)}}), "503 ");
    const std::string refused = "ERROR error on IPC received, exiting, status ";
    EXPECT_EQ(reply("dur", {{4, refusal(3)}}), "404 " + refused + "3\n|");
    EXPECT_EQ(reply("dur", {{4, refusal(5)}}), "500 " + refused + "5\n|");
    EXPECT_EQ(reply("dur", {{4, video(-1)}}), "404 WARN Invalid content type (-1), inferring FILE NOT_FOUND\n|");
    const auto discarded = [](int length) {
        return formatted("500 ERROR Invalid response size (%d), discarding\n|", length);
    };
    EXPECT_EQ(reply("upload&status=5", {{9, cut(refusal(0), 19)}}), discarded(19));
    EXPECT_EQ(reply("upload", {{2, cut(gumi(0), 79)}}), discarded(79));
    EXPECT_EQ(reply("v4info", {{7, gumi(4)}, {8, cut(more, 47)}}), discarded(47));
    EXPECT_EQ(reply("dur", {{4, cut(video(3), 103)}}), discarded(103));
    EXPECT_EQ(reply("dur", {{4, cut(video(0, message(1, 2)), 111)}}), discarded(111));
    const std::string noGumi = reply("v4info", {{7, cut(gumi(7), 95)}});
    EXPECT_TRUE(noGumi.ends_with("'gumi':'" + std::string(32, '0') +
                                 "'}\r\nWARN Insufficient response size (95), "
                                 "invalidating GUMIs\n|"))
        << noGumi;
    EXPECT_EQ(reply("dur", {{4, cut(video(4), 80)}}), "501 ERROR not implemented for content_type 4\n|");
    EXPECT_EQ(reply("videoinfo", {{4, cut(video(-2), 80)}}), "501 ERROR not implemented for content_type -2\n|");
}

TEST(FieldFormatters, MissingRecordWritesOrNameAndTimeDoNot)
{
    mxMediaDBOutput output;
    ASSERT_EQ(mxMediaDBOutputCtor(&output, nullptr), 0);
    db_content_info info = contentInfo(4, fileSpec("100MOXEL", "MOXE0005.JPG"), 2, 0);
    info.modification_time = UINT32_MAX;
    int status = formatContentInfo(&output, FIELD_N | FIELD_MOD, nullptr);
    status |= formatMoreInfo(&output, FIELD_ALL, "", nullptr) | formatVideoInfo(&output, FIELD_LS, ",", nullptr);
    status |= formatContentInfo(&output, FIELD_N | FIELD_MOD, &info);
    EXPECT_EQ(status, 200);
    EXPECT_STREQ(output.localEntryBuffer, R"("n":"MOXE0005.JPG","mod":"4294967295")");
    mxMediaDBOutputDtor(&output);
}
