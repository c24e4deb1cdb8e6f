// The simulated camera: what it makes of a card, what it answers, and what it keeps.
#include <functional>
#include <gtest/gtest.h>
#include <regex>
#include <sys/eventfd.h>
#include <thread>

#include "catalogueJson.h"
#include "mxipc.h"
#include "sampleCard.h"
#include "server.h"
#include "support/card.h"
#include "support/records.h"

namespace fs = std::filesystem;
using Words = std::vector<uint32_t>;

// A sample card and its database. Answers come as words: status at 1, count at 2, body from 5, entries from 10 on.
struct SimulatedCamera : testing::Test {
    Words ask(const Bytes &request)
    {
        const sim::Message answer = database->answer(request);
        Words words(answer.size() / sizeof(uint32_t));
        memcpy(words.data(), answer.bytes().data(), answer.size());
        return words;
    }
    Words askFile(uint32_t command, const std::string &path, ptrdiff_t place = 0)
    {
        const Words words = ask(fileRequest(command, fileSpec(path.substr(0, 8), path.substr(9))));
        return {words.begin() + place, words.end()};
    }
    const TemporaryCard folder;
    const fs::path card = (sim::makeCard(folder.path("card")), folder.path("card"));
    std::optional<sim::Database> database{card};
    const std::function<uint32_t()> session = [this] { return database->catalogue().sessionId(); };
};

TEST_F(SimulatedCamera, PageNotFullOrOfWrongEntries)
{
    for (uint32_t row = 0; row < 48; ++row) {
        const uint32_t options = row % 16, pageSize = std::array{1U, 10U, 1000U}[row / 16];
        size_t words = 0;
        for (uint32_t index = 0, count; index < 32; index += count) {
            const Words page = ask(listRequest(pageSize, index, options, 0));
            count = page.at(2);
            const size_t more = ask(listRequest(1, index + count, options, 0)).size() - 10;
            ASSERT_TRUE(count > 0 && count <= pageSize && (count == pageSize || more == 0 || page.size() + more > 375));
            words += page.size() - 10;
        }
        EXPECT_EQ(words, 608U - (options & 2 ? 3 : 0) + (options & 4 ? 34 * 4 : 0) + (options & 8 ? 32 * 7 : 0));
    }
    EXPECT_EQ(ask(listRequest(10, 0xFFFFFFFF, 0, 0)).size(), 10U);
    const std::pair<uint32_t, uint32_t> totals[] = {
        {0, 32},     {0x100, 12}, {0x200, 17}, {0x400, 2}, {0x800, 1}, {0x1000, 0}, {0x2000, 2},      {0x2200, 17},
        {0x2800, 1}, {0x301, 8},  {0x102, 1},  {0x304, 9}, {0x1, 8},   {0x305, 4},  {0xFFFFFB00, 30}, {0xFFFFC000, 32}};
    for (const auto &[query, total] : totals) {
        EXPECT_EQ(ask(listRequest(0, 7, 13, query)), (Words{0, 0, 0, 4, 0, 7, 13, query, total, session()}));
    }
}

TEST_F(SimulatedCamera, MalformedRequestCarriedOut)
{
    std::string accepted;
    for (uint32_t row = 0; row < 13 * 41 * 4; ++row) {
        const uint32_t command = row % 13, length = row / 13 % 41, count = std::array{0U, 1U, 2U, ~0U}[row / 533];
        const Bytes whole = cut(message(command, count, 77), 40), request(whole.begin(), whole.begin() + length);
        const bool refused = ask(request) == Words{length < 4 ? 0 : command, 5, 0, 4, length < 12 ? 0 : 77U};
        accepted += refused ? "" : testing::PrintToString(std::array{command, length, count});
    }
    EXPECT_EQ(accepted,
              "{ 0, 24, 0 }{ 10, 12, 1 }{ 0, 24, 1 }{ 6, 28, 1 }{ 2, 32, 1 }{ 3, 32, 1 }{ 4, 32, 1 }{ 7, 32, 1 }"
              "{ 8, 32, 1 }{ 9, 36, 1 }{ 0, 24, 2 }{ 0, 24, 4294967295 }");
}

TEST_F(SimulatedCamera, ItemToldWrong)
{
    EXPECT_EQ(askFile(2, "101MOXEL/MOXE0019.jpg"), (Words{2, 4, 0, 4, 0}));
    EXPECT_EQ(askFile(4, "100MOXEL/MOXE9999.MP4"), (Words{4, 4, 0, 4, 0}));
    // A video and 73 files that are not there: as many as fit.
    const Words files =
        ask(cut(message(db_request_header{4, 74, 0}, fileSpec("100MOXEL", "MX010003.MP4")), 12 + 74 * 20));
    EXPECT_EQ((Words{files.at(1), files.at(2), files.at(5), files.at(28)}), (Words{0, 17, 2, 0xFFFFFFFF}));
    // A chaptered video whole, then its first file, its second, and as one entry: highlights count from its start.
    EXPECT_EQ(askFile(2, "100MOXEL/MOXE0003.MP4").at(16), 4102 + 2048 + 2051 + 2054U);
    EXPECT_EQ(askFile(4, "100MOXEL/MOXE0003.MP4", 16), (Words{4102, 0, 0, 0, 518, 480000, 42, 100, 1, 0, 30000}));
    EXPECT_EQ(askFile(4, "100MOXEL/MX010003.MP4", 20), (Words{256, 480000, 42, 100, 2, 0, 10, 470000}));
    const Words page = ask(listRequest(1, 4, 0, 0)), entry(page.begin() + 25, page.end());
    EXPECT_EQ(entry, (Words{1295, 1535400, 42, 100, 4, 0, 30000, 480010, 950000, 1530000}));
    // Numbers 1 to 12 without 3 and 4, a highlight on 12; numbers 3 to 7 without 5, a highlight on 4.
    EXPECT_EQ(askFile(3, "101MOXEL/G0050001.JPG", 20), (Words{5, 1, 12, 2, 8247, 0, 0xF0CF, 0xFFFFEFFF}));
    EXPECT_EQ(askFile(3, "101MOXEL/G0030003.MP4", 20), (Words{3, 3, 7, 1, 7006, 0, 0xD8, 0xFFFFFFBF}));
    const Words clip = askFile(7, "100MOXEL/MOXE0009.MP4");
    Words original(clip.begin() + 24, clip.end());
    original.resize(8);
    EXPECT_EQ(askFile(7, "100MOXEL/MOXE0001.MP4", 20), original) << "parent of the clip";
    database.emplace(card);
    EXPECT_EQ(askFile(7, "100MOXEL/MOXE0009.MP4"), clip);
}

TEST_F(SimulatedCamera, AcknowledgedUploadStatusLost)
{
    const auto set = [&](const std::string &file, uint32_t status) {
        return ask(message(db_upload_status_request{{9, 1, 0}, fileSpec("100MOXEL", file), status})).at(1);
    };
    const uint32_t before = session();
    EXPECT_EQ((Words{set("MOXE0001.MP4", 31), set("MOXE9999.MP4", 1), session()}), (Words{5, 4, before}));
    EXPECT_EQ((Words{set("MX020003.MP4", 30), set("MOXE0001.MP4", 9), set("MOXE0001.MP4", 11)}), Words(3));
    const uint32_t after = session();
    EXPECT_NE(after, before);
    const std::string statuses = "card/MISC/upload_status";
    folder.write(statuses, folder.read(statuses) + "05 100MOXEL/MOXE00"); // cut short by the loss of power
    for (int start = 0; start < 2; ++start) {
        database.emplace(card);
        const Words bins = ask(message(db_request_header{10, 1, 0}));
        EXPECT_EQ((Words{session(), askFile(4, "100MOXEL/MOXE0003.MP4").at(15)}), (Words{after, 30}));
        EXPECT_EQ((Words{bins.at(5), bins.at(5 + 11), bins.at(5 + 30)}), (Words{27, 1, 2}));
    }
    EXPECT_EQ(folder.read(statuses).size(), 50U);
    folder.write(statuses, "31 100MOXEL/MOXE0001.MP4\n");
    EXPECT_THROW(database.emplace(card), std::runtime_error);
}

TEST_F(SimulatedCamera, SessionIdDoesNotFollowTheCatalogue)
{
    const uint32_t before = session();
    for (const auto from : {"card/DCIM/101MOXEL/MOXE0018.JPG", "card/DCIM/103M3D_L", "card/DCIM/100MOXEL/MX030003.LRV",
                            "card/DCIM/100MOXEL/MX030003.MP4", "card/catalogue.json", "card"}) {
        fs::rename(folder.path(from), folder.path("aside"));
        database->refresh();
        EXPECT_NE(session(), before) << from;
        fs::rename(folder.path("aside"), folder.path(from));
        database->refresh();
        EXPECT_EQ(session(), before) << from;
    }
    folder.write("card/wifi_log.txt", "no part of the catalogue");
    EXPECT_FALSE(database->isOutdated());
}

TEST_F(SimulatedCamera, BadCatalogueJsonAccepted)
{
    std::istringstream rows(R"({"@MOXE0001.MP4": {"colour": 1}} -> @MOXE0001.MP4: colour: unknown key
{"@MOXE0001.MP4": {"upload_status": 31}} -> @MOXE0001.MP4: upload_status: not a whole number from 0 to 30
{"@MOXE0001.MP4": {"duration_ms": 1.5}} -> @MOXE0001.MP4: duration_ms: not a whole number from 0 to 4294967295
{"@MOXE0001.MP4": {"audio": "loud"}} -> @MOXE0001.MP4: audio: not one of off, stereo, wind, auto
{"@MOXE0001.MP4": {"clip_of": "@MOXE0001.MP4"}} -> @MOXE0001.MP4: clip_of: not the path of another media file
{"@MOXE0001.MP4": {"kind": "burst_photo"}} -> @MOXE0001.MP4: kind: the names of the files rule it out
{"@G0010001.JPG":{"kind":"burst_photo"},"@G0010002.JPG":{"kind":"continuous_photo"}} -> @G0010002.JPG: kind: another
{"x": {"y": 1, "y": 2}} -> y: given twice
{"@MOXE9999.JPG": {}} -> @MOXE9999.JPG: no media file of that name is on the card
{"x": nothing -> parse error at line 1, column 8: )");
    const uint32_t before = session();
    for (std::string row; std::getline(rows, row);) {
        row = std::regex_replace(row, std::regex("@"), "100MOXEL/");
        folder.write("card/catalogue.json", row.substr(0, row.find(" -> ")));
        testing::internal::CaptureStderr();
        database->refresh();
        const std::string error = "rtosMediaDBSim: catalogue.json: " + row.substr(row.find(" -> ") + 4);
        EXPECT_EQ(testing::internal::GetCapturedStderr().substr(0, error.size()), error);
        EXPECT_EQ(session(), before);
        EXPECT_THROW(sim::Database anew(card), sim::CatalogueError);
    }
}

TEST_F(SimulatedCamera, FileOfNoItemOrOfTwoOrCardOfWrongSize)
{
    // A chapter without video, a chapter number 0, groups cut by their span, letters for digits, LRV alone.
    std::istringstream names(
        "MX010001.MP4 MX000002.MP4 MOXE0002.MP4 G0010001.JPG G0011025.JPG G0019999.JPG G0010001.MP4"
        " GAB10001.JPG MOXE0003.LRV MX010004.JPG SESS0005.MET G001000A.JPG MOXE0006.jpg");
    for (std::string name; names >> name;) {
        folder.write("odd/DCIM/999M3D_L/" + name, "x");
    }
    std::string all;
    for (const sim::Item &item : sim::makeItems(sim::scanCard(folder.path("odd")))) {
        all += std::to_string(item.type) + ' ' + item.whole.name + '+' + std::to_string(item.files.size()) + ' ';
    }
    EXPECT_EQ(all, "5 G0010001.JPG+1 1 G0010001.MP4+1 5 G0011025.JPG+1 5 G0019999.JPG+1 4 GAB10001.JPG+1 "
                   "0 MOXE0002.MP4+1 0 MX000002.MP4+1 0 MX010001.MP4+1 4 MX010004.JPG+1 ");
    EXPECT_THROW(sim::makeCard(card), std::runtime_error);
    sim::makeCard(folder.path("large"), 1200);
    EXPECT_EQ(sim::Database(folder.path("large")).catalogue().items().size(), 1200U);
    // Four files for each item, four that a scan leaves alone, and the folders.
    EXPECT_EQ(std::distance(fs::recursive_directory_iterator(folder.path("large/DCIM")), {}), 4 * 1200 + 4 + 8);
}

TEST_F(SimulatedCamera, FaultOnAnotherRequestOrClientStalledByAnother)
{
    setenv("MXIPC_DIR", folder.path().c_str(), 1);
    setenv("MXIPC_TIMEOUT_MS", "300", 1);
    const std::string path = folder.path("camera");
    Words good = ask(message(db_request_header{10, 1, 0}));
    good.resize(375);
    const auto run = [&](uint32_t seed) {
        sim::FaultSettings settings{.busy = 2, .drop = 5, .truncate = 3, .garble = 7, .delay = 13, .seed = seed};
        settings.delayTime = std::chrono::minutes(1);
        const sim::Channel channel(path);
        EXPECT_THROW(sim::Channel second(path), sim::ChannelTaken);
        const sim::UniqueFd stop(eventfd(0, 0));
        sim::Server server(channel, *database, sim::Faults(settings));
        std::jthread thread([&] { server.run(stop.get()); });
        mxIpcHandle delayed, quick;
        EXPECT_EQ(mxIpcInit("camera", &delayed) | mxIpcInit("camera", &quick), 0);
        std::string kinds, all;
        for (int i = 1; i <= 14; ++i) {
            Words got{10, 1, 0};
            got.resize(375);
            EXPECT_EQ(mxIpcSend(i == 13 ? &delayed : &quick, got.data(), i == 1 ? 0 : 12), 0);
            const int size = i == 13 ? -1 : mxIpcReceive(&quick, got.data());
            kinds += got == good ? '=' : size == 148 ? 'g' : size == 20 ? 'b' : size < 0 ? '-' : 'c';
            all += testing::PrintToString(got);
        }
        mxIpcDestroy(&delayed);
        eventfd_write(stop.get(), 1);
        return kinds + all;
    };
    const std::string first = run(8);
    EXPECT_EQ(first.substr(0, 14), "bbcb-cgbc-=c-b") << "busy, cut, dropped, garbled, good; the 13th comes late";
    EXPECT_FALSE(fs::exists(path));
    EXPECT_EQ(run(8), first);
    EXPECT_NE(run(2), first);
}
