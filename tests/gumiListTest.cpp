// The media list of named files.
#include "listing.h"

using GumiList = ListTest;

TEST_F(GumiList, EntryOrQuestionIsWrong)
{
    const auto header = [](uint32_t status) { return responseHeader(DB_COMMAND_GUMI_BY_FILE_NAME, status); };
    const auto found = [&](const std::string &file, uint32_t properties = 0) {
        return message(header(DB_STATUS_OK), item(0, file, 0, properties), gumiOf(0xAA), gumiOf(0xBB));
    };
    const Bytes unknown = message(header(DB_STATUS_NOT_FOUND_SILENT));
    const std::string real = "{'n':'REAL0001.MP4','gumi':'" + std::string(32, 'a') + "'";
    const auto absent = [](const std::string &file) { return "{'n':'" + file + "','DNE':'1'}"; };
    // Names, exchanges about them, status, entries.
    const std::tuple<std::string, std::vector<std::pair<std::string, Bytes>>, int, std::string> cases[] = {
        {"A.MP4,B.MP4",
         {{"A.MP4", unknown}, {"B.MP4", found("REAL0001.MP4")}},
         200,
         absent("A.MP4") + "," + real + "}"},
        {"A", {{"A", found("REAL0001.MP4", DB_MEDIA_CLIPPED)}}, 200, real + ",'pgumi':'" + std::string(32, 'b') + "'}"},
        {"A", {{"A", cut(found("A"), 95)}}, 200, "{'n':'A','gumi':'" + std::string(32, '0') + "'}"},
        {"", {}, 200, ""},
        {",,A,,B&status=x,C", {{"A", unknown}, {"B", unknown}}, 200, absent("A") + "," + absent("B")},
        {"MOXE0001.MP4X,MOXE%2C02.MP4",
         {{"MOXE0001.MP4", message(header(3))}, {"MOXE%2C02.MP", message(header(4))}},
         200,
         absent("MOXE0001.MP4") + "," + absent("MOXE%2C02.MP")},
        {"A,B,C", {{"A", found("REAL0001.MP4")}, {"B", message(header(1))}}, 503, ""},
        {"A,B", {{"A", message(header(9))}}, 500, ""},
    };
    for (const auto &[files, exchanges, status, entries] : cases) {
        for (const std::string dir : {"100MOXEL", "100"}) {
            ScriptedTransport transport;
            transport.guarding = false;
            for (const auto &[file, response] : exchanges) {
                transport.answer(fileRequest(DB_COMMAND_GUMI_BY_FILE_NAME, fileSpec(dir, file)), response);
            }
            const std::string query = "f=gumi&folder=" + dir + "&files=" + files;
            EXPECT_EQ(answer(generateMediaList, query.c_str()),
                      answerOf(status, status == 200 ? blockOf(entries, dir) : ""))
                << query;
        }
    }
}

TEST_F(GumiList, FormOfTheQueryMisjudged)
{
    const std::string noGumi = "ERROR Required 'gumi=' key missing, aborting\n|";
    const std::string noFolder = "init|ERROR Required '&folder=' key missing, aborting\n|destroy|";
    const std::string tooLong = "init|ERROR &folder= value too long (8 char max), aborting\n|destroy|";
    const std::pair<const char *, std::string> cases[] = {
        {"folder=100MOXEL&f=gumi&files=A", noGumi},
        {"F=gumi&folder=100MOXEL&files=A", noGumi},
        {"f=gumi", noFolder},
        {"f=gumi&files=A&folder=100MOXEL", noFolder},
        {"f=gumi&folder=a%62cdefg&files=A", tooLong},
        {"f=gumi&folder=", tooLong},
        {"f=gumi&folder=100MOXEL&x=1&files=A", "init|ERROR Required '&files=' key missing, aborting\n|destroy|"},
    };
    for (const auto &[query, complaint] : cases) {
        ScriptedTransport transport;
        EXPECT_EQ(answer(generateMediaList, query), complaint == noGumi ? "" : answerOf(400, "")) << query;
        EXPECT_EQ(joined(), complaint);
    }
}
