// Whole documents about one file, and the failures that leave only a head.
#include <regex>

#include "fieldFormatters.h"
#include "listing.h"

static Bytes gumi(db_content_type type, uint32_t properties = 0)
{
    db_content_info info = contentInfo(type, fileSpec(), 6, properties);
    info.creation_time = 4000000000;
    info.size = 5000000000;
    return message(responseHeader(7), info, gumiOf(0xAB), gumiOf(0x01));
}

static Bytes video(db_content_type type, const Bytes &highlights = {}, uint32_t duration = 1500, uint32_t lrvSize = ~0u)
{
    const auto count = static_cast<uint32_t>(highlights.size()) / 4;
    return message(responseHeader(4), contentInfo(type), db_video_specific_info{lrvSize, duration, 41, 100, count, 1},
                   highlights);
}

const Bytes more = message(responseHeader(8), db_more_info{1920, 1080, 30000, 1001, 1, 0, 9});
const std::string format = ",'w':'1920','h':'1080','fps':'30000','fps_denom':'1001','prog':'1','subsample':'0'}\r\n";

struct Metadata : ListTest {
    /** Status and document, in single quotes, errors and warnings that follow these exchanges. */
    std::string reply(const std::string &query, const std::vector<std::pair<uint8_t, Bytes>> &exchanges,
                      bool ownToken = false)
    {
        for (const auto &[command, response] : exchanges) {
            transport.answer(command == 9 ? message(fileRequest(9), 5) : fileRequest(command), response, ownToken);
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
    const std::string start = "200 {'cre':'4000000000','s':'5000000000',";
    const std::string rest = ",'ls':'4294967295','cl':'1','hc':'2','hi':[3,4294967295],'dur':'2'" + format;
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
            EXPECT_EQ(reply("v4info", {{7, gumi(type, properties)}, {4, video(type, message(3, -1))}, {8, more}}),
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
    const std::string noLrv = reply("v4info", {{7, gumi(0)}, {4, video(0, {}, 1500, 0)}, {8, more}});
    EXPECT_TRUE(noLrv.ends_with(",'ls':'-1','cl':'1','hc':'0','hi':[],'dur':'2'" + format)) << noLrv;
    const std::string noGumi = reply("v4info", {{7, cut(gumi(7), 95)}});
    EXPECT_TRUE(noGumi.ends_with("'gumi':'" + std::string(32, '0') +
                                 "'}\r\nWARN Insufficient response size (95), invalidating GUMIs\n|"))
        << noGumi;
}

TEST_F(Metadata, VideoOrUploadDocumentDiffers)
{
    const Bytes tags(150 * sizeof(uint32_t), 0xFF);
    const std::string start = "200 {'dur':'1','c':'1','avc_profile':'100','profile':'41',";
    const std::string members = "4294967295" + times(98, ",4294967295");
    EXPECT_EQ(reply("videoinfo", {{4, video(3, {}, 1499)}, {8, more}}), start + "'tag_count':0,'tags':[]" + format);
    EXPECT_EQ(reply("videoinfo", {{4, video(3, tags, 1499)}, {8, more}}),
              start + "'tag_count':150,'tags':[" + members + "]" + format);
    EXPECT_EQ(reply("dur&status=3", {{4, video(0, tags)}}), "200 {'dur':'2','c':'1','profile':'41'}\r\n");
    EXPECT_EQ(joined(), "init|send|receive|destroy|");
    EXPECT_EQ(reply("dur", {{4, video(0, {}, ~0u)}}), "200 {'dur':'0','c':'1','profile':'41'}\r\n");

    db_content_info info = contentInfo(11);
    info.uploadStatus = 5;
    const Bytes read = message(responseHeader(2), info), several = message(responseHeader(9, 0, 3));
    const std::string foreign = reply("upload", {{2, read}}, true);
    EXPECT_EQ(foreign, "200 {'us':'5'}\r\n" + formatted("WARN Tokens don't match 0 %d|", transport.lastToken));
    EXPECT_EQ(reply("upload&status=5", {{9, several}, {2, read}}),
              "200 {'us':'5'}\r\nWARN command 9 requested 1, response returned 3, setting response returned to 1\n|");
}

TEST_F(Metadata, FailureAnsweredInPartOrGoneOn)
{
    const auto refusal = [](uint32_t status) { return message(responseHeader(0, status)); };
    const std::string refused = "ERROR error on IPC received, exiting, status ";
    const auto discarded = [](int n) { return formatted("500 ERROR Invalid response size (%d), discarding\n|", n); };
    const std::tuple<const char *, std::vector<std::pair<uint8_t, Bytes>>, std::string> cases[] = {
        {"v4info", {{7, refusal(4)}}, "404 "},
        {"upload", {{2, refusal(1)}}, "503 "},
        {"upload&status=5", {{9, refusal(2)}}, "503 "},
        {"v4info", {{7, gumi(0)}, {4, refusal(1)}}, "503 "},
        {"v4info", {{7, gumi(4)}, {8, refusal(1)}}, "503 "},
        {"videoinfo", {{4, video(0)}, {8, refusal(1)}}, "503 "},
        {"dur", {{4, refusal(3)}}, "404 " + refused + "3\n|"},
        {"dur", {{4, refusal(5)}}, "500 " + refused + "5\n|"},
        {"dur", {{4, video(-1)}}, "404 WARN Invalid content type (-1), inferring FILE NOT_FOUND\n|"},
        {"dur", {{4, cut(video(4), 80)}}, "501 ERROR not implemented for content_type 4\n|"},
        {"videoinfo", {{4, cut(video(-2), 80)}}, "501 ERROR not implemented for content_type -2\n|"},
        {"upload&status=5", {{9, cut(refusal(0), 19)}}, discarded(19)},
        {"upload", {{2, cut(gumi(0), 79)}}, discarded(79)},
        {"v4info", {{7, gumi(4)}, {8, cut(more, 47)}}, discarded(47)},
        {"dur", {{4, cut(video(3), 103)}}, discarded(103)},
        {"dur", {{4, cut(video(0, message(1, 2)), 111)}}, discarded(111)},
    };
    for (const auto &[query, exchanges, expected] : cases) {
        EXPECT_EQ(reply(query, exchanges), expected) << query;
    }
}

TEST(FieldFormatters, MissingRecordWritesOrNameAndTimeDoNot)
{
    mxMediaDBOutput output;
    ASSERT_EQ(mxMediaDBOutputCtor(&output, nullptr), 0);
    db_content_info info = contentInfo(4, fileSpec("100MOXEL", "MOXE0005.JPG"), 2, 0);
    info.modification_time = UINT32_MAX;
    EXPECT_EQ(formatContentInfo(&output, FIELD_N | FIELD_MOD, nullptr), 200);
    EXPECT_EQ(formatContentInfo(&output, FIELD_N | FIELD_MOD, &info), 200);
    EXPECT_STREQ(output.localEntryBuffer, R"("n":"MOXE0005.JPG","mod":"4294967295")");
    mxMediaDBOutputDtor(&output);
}
