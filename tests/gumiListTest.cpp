// The media list of named files.
#include "listing.h"

namespace
{

constexpr uint32_t unknown = DB_STATUS_NOT_FOUND_SILENT;

using GumiList = ListTest;

Bytes request(const std::string &file, const std::string &dir = "100MOXEL")
{
    return fileRequest(DB_COMMAND_GUMI_BY_FILE_NAME, fileSpec(dir, file));
}

Bytes found(const std::string &file, uint8_t gumi, uint32_t properties = 0)
{
    return message(responseHeader(DB_COMMAND_GUMI_BY_FILE_NAME), item(0, file, 0, properties), gumiOf(gumi),
                   gumiOf(0xBB));
}

Bytes refused(uint32_t status)
{
    return message(responseHeader(DB_COMMAND_GUMI_BY_FILE_NAME, status));
}

} // namespace

TEST_F(GumiList, EntryOrQuestionIsWrong)
{
    const std::string digitsA(32, 'a');
    const std::string digitsB(32, 'b');
    const std::string zeros(32, '0');
    const std::string known = "{'n':'REAL.MP4','gumi':'" + digitsA + "'}";
    const auto absent = [](const std::string &file) { return "{'n':'" + file + "','DNE':'1'}"; };
    const struct {
        std::string files;
        std::vector<std::pair<const char *, Bytes>> exchanges;
        int status;
        std::string entries;
    } cases[] = {
        {"A.MP4,B.MP4",
         {{"A.MP4", refused(unknown)}, {"B.MP4", found("REAL.MP4", 0xAA)}},
         200,
         absent("A.MP4") + "," + known},
        {"A.MP4",
         {{"A.MP4", found("A.MP4", 0xAA, DB_MEDIA_CLIPPED)}},
         200,
         "{'n':'A.MP4','gumi':'" + digitsA + "','pgumi':'" + digitsB + "'}"},
        {"A.MP4", {{"A.MP4", cut(found("A.MP4", 0xAA), 95)}}, 200, "{'n':'A.MP4','gumi':'" + zeros + "'}"},
        {"", {}, 200, ""},
        {",,A.MP4,,&status=x,B.MP4", {{"A.MP4", refused(unknown)}}, 200, absent("A.MP4")},
        {"MOXE0001.MP4X,MOXE%2C02.MP4",
         {{"MOXE0001.MP4", refused(3)}, {"MOXE%2C02.MP", refused(4)}},
         200,
         absent("MOXE0001.MP4") + "," + absent("MOXE%2C02.MP")},
        {"A,B,C", {{"A", found("REAL.MP4", 0xAA)}, {"B", refused(1)}}, 503, ""},
        {"A,B", {{"A", refused(9)}}, 500, ""},
    };
    for (const auto &row : cases) {
        ScriptedTransport transport;
        transport.guarding = false;
        for (const auto &[file, response] : row.exchanges) {
            transport.answer(request(file), response);
        }
        EXPECT_EQ(listAnswer("f=gumi&folder=100MOXEL&files=" + row.files),
                  answerOf(row.status, row.status == 200 ? blockOf(row.entries) : ""))
            << row.files;
    }
    ScriptedTransport transport;
    transport.guarding = false;
    transport.answer(request("A", "100"), found("A", 0xAA));
    EXPECT_EQ(listAnswer("f=gumi&folder=100&files=A"),
              answerOf(200, "{'d':'100','fs':[{'n':'A','gumi':'" + digitsA + "'}]}"));
}

TEST_F(GumiList, FormOfTheQueryMisjudged)
{
    const struct {
        const char *query;
        const char *complaint;
        bool answered;
    } cases[] = {
        {"folder=100MOXEL&f=gumi&files=A", "ERROR Required 'gumi=' key missing, aborting\n", false},
        {"F=gumi&folder=100MOXEL&files=A", "ERROR Required 'gumi=' key missing, aborting\n", false},
        {"f=gumi", "ERROR Required '&folder=' key missing, aborting\n", true},
        {"f=gumi&files=A&folder=100MOXEL", "ERROR Required '&folder=' key missing, aborting\n", true},
        {"f=gumi&folder=a%62cdefg&files=A", "ERROR &folder= value too long (8 char max), aborting\n", true},
        {"f=gumi&folder=", "ERROR &folder= value too long (8 char max), aborting\n", true},
        {"f=gumi&folder=100MOXEL&x=1&files=A", "ERROR Required '&files=' key missing, aborting\n", true},
    };
    for (const auto &row : cases) {
        ScriptedTransport transport;
        const std::string text = listAnswer(row.query);
        EXPECT_EQ(text, row.answered ? answerOf(400, "") : "") << row.query;
        EXPECT_EQ(effectsOf("ERROR"), Lines{row.complaint}) << row.query;
    }
}

TEST_F(GumiList, SetUpFailsWithTheWrongAnswer)
{
    const std::string query = "f=gumi&folder=100MOXEL&files=A";
    ScriptedTransport transport;
    transport.openFails(-7);
    EXPECT_EQ(listAnswer(query), answerOf(500, ""));
    EXPECT_EQ(effectsOf("ERROR"), (Lines{"ERROR mxIpcInit fail, ret -7\n", "ERROR rtosConnectionCtor ret < 0"}));
    const TemporaryCard spoilt;
    spoilt.write("MISC", "a file in the folder's place");
    testing::internal::CaptureStderr();
    EXPECT_TRUE(
        listAnswer(query).ends_with(json("404 \r\nContent-Type: application/json\r\n\r\n{'id':'0','media':[]}\r\n")));
    testing::internal::GetCapturedStderr();
}
