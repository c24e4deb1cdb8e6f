// Whole documents about one file, and the failures that leave only a head.
#include <gtest/gtest.h>

#include "card.h"
#include "effects.h"
#include "mxMediaRTOSDB.h"
#include "records.h"

namespace
{

const std::string path = "p=100MOXEL/MOXE0001.MP4";
const Bytes gumiRequest = fileRequest(DB_COMMAND_GUMI_BY_FILE_NAME);
const Bytes videoRequest = fileRequest(DB_COMMAND_VIDEO_SPECIFIC_INFO);
const Bytes moreRequest = fileRequest(DB_COMMAND_MORE_INFO);
const Bytes contentRequest = fileRequest(DB_COMMAND_CONTENT_INFO);
const Bytes uploadRequest = message(fileRequest(DB_COMMAND_SET_UPLOAD_STATUS), uint32_t{5});

Bytes gumiAnswer(const db_content_info &info)
{
    return message(responseHeader(DB_COMMAND_GUMI_BY_FILE_NAME), info, gumiOf(0xAB), gumiOf(0x01));
}

Bytes videoAnswer(db_content_type type, const Bytes &highlights = {}, uint32_t duration = 1500)
{
    const auto count = static_cast<uint32_t>(highlights.size() / sizeof(uint32_t));
    return message(responseHeader(DB_COMMAND_VIDEO_SPECIFIC_INFO), contentInfo(type),
                   db_video_specific_info{7, duration, 41, 100, count, 1}, highlights);
}

Bytes moreAnswer()
{
    return message(responseHeader(DB_COMMAND_MORE_INFO), db_more_info{1920, 1080, 30000, 1001, 1, 0, 9});
}

Bytes refusal(uint32_t status)
{
    return message(responseHeader(0, status));
}

/** What a request prints; its result must fit, and it must leave no descriptor open. */
std::string answerTo(const std::string &query)
{
    const int descriptor = nextDescriptor();
    int result = 1;
    const std::string text = printedBy([&] { result = generateMetadata(nullptr, query.c_str()); });
    EXPECT_EQ(result, text.starts_with("HTTP/1.1 200 ") ? 0 : -1) << query;
    EXPECT_EQ(nextDescriptor(), descriptor) << query;
    return text;
}

std::string head(int status)
{
    return "HTTP/1.1 " + std::to_string(status) + " \r\nContent-Type: application/json\r\n\r\n";
}

std::string page(const std::string &document)
{
    return head(200) + document + "\r\n";
}

class Metadata : public testing::Test
{
  protected:
    Metadata()
    {
        card.identify();
    }
    TemporaryCard card;
    ScriptedTransport transport;
};

} // namespace

TEST_F(Metadata, V4InfoKeysOfAType)
{
    const std::string gumi = "\"gumi\":\"abababababababababababababababab\"";
    const std::string parent = ",\"pgumi\":\"01010101010101010101010101010101\"";
    const std::string video = "\"us\":\"0\",\"eis\":\"1\",\"zta\":\"0\",\"ao\":\"wind\",\"tr\":\"0\",\"mp\":\"1\",";
    const std::string tail =
        ",\"ls\":\"7\",\"cl\":\"1\",\"hc\":\"2\",\"hi\":[3,4],\"dur\":\"2\",\"w\":\"1920\","
        "\"h\":\"1080\",\"fps\":\"30000\",\"fps_denom\":\"1001\",\"prog\":\"1\",\"subsample\":\"0\"}";
    const std::string other = "{\"cre\":\"1000\",\"s\":\"3000\",\"hc\":\"6\",\"us\":\"0\",\"eis\":\"1\",\"wdr\":\"0\","
                              "\"raw\":\"0\",\"tr\":\"0\",";
    for (const db_content_type type : {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, INT32_MAX, -2}) {
        for (const uint32_t clipped : {0x0u, 0x1u}) {
            const bool isVideo = type >= 0 && type <= 3;
            const bool bare = type == 7 || type > 11 || type < 0;
            transport.answer(gumiRequest, gumiAnswer(contentInfo(type, fileSpec(), 6, 0x842 | clipped)));
            if (isVideo) {
                transport.answer(videoRequest, videoAnswer(type, message(uint32_t{3}, uint32_t{4})));
            }
            if (!bare) {
                transport.answer(moreRequest, moreAnswer());
            }
            const std::string ids = gumi + (clipped != 0 ? parent : "");
            const std::string expected = isVideo ? "{\"cre\":\"1000\",\"s\":\"3000\"," + video + ids + tail
                                                 : other + ids + (bare ? "}" : ",\"w\":\"1920\",\"h\":\"1080\"}");
            EXPECT_EQ(answerTo(path + "&t=v4info"), page(expected)) << type;
        }
    }
}

TEST_F(Metadata, VideoDocumentsDiffer)
{
    Bytes highlights;
    std::string members;
    for (uint32_t i = 0; i < 150; ++i) {
        highlights << i;
        members += i == 0 ? "0" : i < 99 ? "," + std::to_string(i) : "";
    }
    const std::string more = "\"w\":\"1920\",\"h\":\"1080\",\"fps\":\"30000\",\"fps_denom\":\"1001\",\"prog\":\"1\","
                             "\"subsample\":\"0\"}";
    const std::string start = "{\"dur\":\"1\",\"c\":\"1\",\"avc_profile\":\"100\",\"profile\":\"41\",";
    const std::pair<Bytes, std::string> cases[] = {
        {{}, start + "\"tag_count\":0,\"tags\":[]," + more},
        {highlights, start + "\"tag_count\":150,\"tags\":[" + members + "]," + more},
    };
    for (const auto &[tags, document] : cases) {
        transport.answer(videoRequest, videoAnswer(3, tags, 1499));
        transport.answer(moreRequest, moreAnswer());
        EXPECT_EQ(answerTo(path + "&t=videoinfo"), page(document));
    }
    transport.answer(videoRequest, videoAnswer(0, highlights));
    effects().clear();
    EXPECT_EQ(answerTo(path + "&t=dur&status=3"), page("{\"dur\":\"2\",\"c\":\"1\",\"profile\":\"41\"}"));
    EXPECT_EQ(effects(), (Lines{"init", "send", "receive", "destroy"}));
}

// A full message: more highlights than a document lists, and every number at its widest.
TEST_F(Metadata, WidestDocumentRefused)
{
    const uint32_t widest = UINT32_MAX;
    const uint32_t count = 349;
    db_content_info info = contentInfo(0, fileSpec(), widest, 0xFFFFFF3F);
    info.creation_time = info.uploadStatus = widest;
    info.size = UINT64_MAX;
    const Bytes highlights(count * sizeof widest, 0xFF);
    const Bytes video =
        message(responseHeader(DB_COMMAND_VIDEO_SPECIFIC_INFO), info,
                db_video_specific_info{widest, widest - 500, widest, widest, count, widest}, highlights);
    const Bytes more = message(responseHeader(DB_COMMAND_MORE_INFO),
                               db_more_info{INT32_MIN, INT32_MIN, INT32_MIN, INT32_MIN, INT32_MIN, INT32_MIN, 0});
    transport.answer(gumiRequest, gumiAnswer(info));
    for (int document = 0; document < 2; ++document) {
        transport.answer(videoRequest, video);
        transport.answer(moreRequest, more);
    }
    EXPECT_EQ(answerTo(path + "&t=v4info").size(), page("").size() + 1490);
    EXPECT_EQ(answerTo(path + "&t=videoinfo").size(), page("").size() + 1327);
}

TEST_F(Metadata, UploadReadsBeforeWriting)
{
    db_content_info info = contentInfo(11);
    info.uploadStatus = 5;
    const Bytes read = message(responseHeader(DB_COMMAND_CONTENT_INFO), info);
    transport.answer(contentRequest, read);
    transport.answer(uploadRequest, refusal(DB_STATUS_OK));
    transport.answer(contentRequest, read);
    EXPECT_EQ(answerTo(path + "&t=upload"), page("{\"us\":\"5\"}"));
    EXPECT_EQ(answerTo(path + "&t=upload&status=5"), page("{\"us\":\"5\"}"));
}

TEST_F(Metadata, FailureAnsweredInPartOrGoneOn)
{
    const Bytes gumi = gumiAnswer(contentInfo(0));
    const struct {
        const char *name;
        std::string query;
        std::vector<std::pair<Bytes, Bytes>> exchanges;
        int status;
        std::string log;
    } cases[] = {
        {"no such file", "v4info", {{gumiRequest, refusal(DB_STATUS_NOT_FOUND_SILENT)}}, 404, ""},
        {"busy", "upload", {{contentRequest, refusal(DB_STATUS_BUSY)}}, 503, ""},
        {"write refused", "upload&status=5", {{uploadRequest, refusal(DB_STATUS_NOT_READY)}}, 503, ""},
        {"video record", "v4info", {{gumiRequest, gumi}, {videoRequest, refusal(DB_STATUS_BUSY)}}, 503, ""},
        {"no longer a video",
         "v4info",
         {{gumiRequest, gumi}, {videoRequest, cut(videoAnswer(4), 80)}},
         500,
         "ERROR content_type 4 in the answer about a video, discarding\n"},
        {"picture format",
         "v4info",
         {{gumiRequest, gumiAnswer(contentInfo(4))}, {moreRequest, refusal(DB_STATUS_BUSY)}},
         503,
         ""},
        {"picture format",
         "videoinfo",
         {{videoRequest, videoAnswer(0)}, {moreRequest, refusal(DB_STATUS_BUSY)}},
         503,
         ""},
        {"photo", "dur", {{videoRequest, cut(videoAnswer(4), 80)}}, 501, "ERROR not implemented for content_type 4\n"},
        {"negative type",
         "videoinfo",
         {{videoRequest, cut(videoAnswer(-2), 80)}},
         501,
         "ERROR not implemented for content_type -2\n"},
    };
    for (const auto &row : cases) {
        effects().clear();
        for (const auto &[request, response] : row.exchanges) {
            transport.answer(request, response);
        }
        EXPECT_EQ(answerTo(path + "&t=" + row.query), head(row.status)) << row.name;
        EXPECT_EQ(effectsOf("ERROR"), row.log.empty() ? Lines{} : Lines{row.log}) << row.name;
    }
}

TEST_F(Metadata, FailedStartGoesOn)
{
    EXPECT_EQ(answerTo(path + "&t=DUR"), head(501));
    EXPECT_EQ(effects(), (Lines{"ERROR t=DUR not implemented\n",
                                "ERROR parseMetadataQuery ret: 501, query:'" + path + "&t=DUR'"}));
    Lines expected = {"init", "ERROR mxIpcInit fail, ret -3\n", "ERROR rtosConnectionCtor ret < 0", "destroy"};
    effects().clear();
    transport.openFails(-3);
    EXPECT_EQ(answerTo(path + "&t=dur"), head(500));
    EXPECT_EQ(effects(), expected);

    // Without an identity the status is another, whether or not the connection stands.
    std::filesystem::remove_all(card.path());
    effects().clear();
    transport.openFails(-3);
    EXPECT_EQ(answerTo(path + "&t=dur"), head(404));
    expected.insert(expected.end() - 1, "ERROR getCardIDStr ret < 0");
    EXPECT_EQ(effects(), expected);
    effects().clear();
    EXPECT_EQ(answerTo(path + "&t=dur"), head(404));
    EXPECT_EQ(effects(), (Lines{"init", "ERROR getCardIDStr ret < 0", "destroy"}));
}
