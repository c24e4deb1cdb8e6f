// The simulated camera: what it answers, what it keeps, and its faults as a client sees them.
#include <getopt.h>
#include <gtest/gtest.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <wordexp.h>

#include "options.h"
#include "replay.h"
#include "sampleCard.h"
#include "server.h"
#include "support/card.h"
#include "support/records.h"

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
    uint32_t session()
    {
        return database->catalogue().sessionId();
    }
    Words askFile(uint32_t command, const std::string &path, ptrdiff_t place = 0)
    {
        const Words words = ask(fileRequest(command, fileSpec(path.substr(0, 8), path.substr(9))));
        return {words.begin() + place, words.end()};
    }
    const TemporaryCard folder;
    const std::filesystem::path card = (sim::makeCard(folder.path("card")), folder.path("card"));
    std::optional<sim::Database> database{card};
};

TEST_F(SimulatedCamera, QuerySelectsOtherItems)
{
    const std::pair<uint32_t, uint32_t> totals[] = {
        {0, 32},     {0x100, 12}, {0x200, 17}, {0x400, 2}, {0x800, 1}, {0x1000, 0}, {0x2000, 2},      {0x2200, 17},
        {0x2800, 1}, {0x301, 8},  {0x102, 1},  {0x304, 9}, {0x1, 8},   {0x305, 4},  {0xFFFFFB00, 30}, {0xFFFFC000, 32}};
    for (const auto &[query, total] : totals) {
        EXPECT_EQ(ask(listRequest(0, 7, 13, query)), (Words{0, 0, 0, 4, 0, 7, 13, query, total, session()}));
    }
}

TEST_F(SimulatedCamera, ItemToldWrong)
{
    EXPECT_EQ(askFile(2, "101MOXEL/MOXE0019.jpg"), (Words{2, 4, 0, 4, 0}));
    EXPECT_EQ(askFile(4, "100MOXEL/MOXE9999.MP4"), (Words{4, 4, 0, 4, 0}));
    // A video and 73 files that are not there: as many as fit.
    const Words files =
        ask(cut(message(db_request_header{4, 74, 0}, fileSpec("100MOXEL", "MX010003.MP4")), 12 + 74 * 20));
    EXPECT_EQ((Words{files.at(1), files.at(2), files.at(5), files.at(28)}), (Words{0, 17, 2, 0xFFFFFFFF}));
    // A chaptered video's first file, its second, and all of it as one entry: highlights count from its start.
    EXPECT_EQ(askFile(4, "100MOXEL/MOXE0003.MP4", 16), (Words{4102, 0, 0, 0, 518, 480000, 42, 100, 1, 0, 30000}));
    EXPECT_EQ(askFile(4, "100MOXEL/MX010003.MP4", 20), (Words{256, 480000, 42, 100, 2, 0, 10, 470000}));
    const Words page = ask(listRequest(1, 4, 0, 0)), entry(page.begin() + 25, page.end());
    EXPECT_EQ(entry, (Words{1295, 1535400, 42, 100, 4, 0, 30000, 480010, 950000, 1530000}));
    // Numbers 1 to 12 without 3 and 4, a highlight on 12; numbers 3 to 7 without 5, a highlight on 4.
    EXPECT_EQ(askFile(3, "101MOXEL/G0050001.JPG", 20), (Words{5, 1, 12, 2, 8247, 0, 0xF0CF, 0xFFFFEFFF}));
    EXPECT_EQ(askFile(3, "101MOXEL/G0030003.MP4", 20), (Words{3, 3, 7, 1, 7006, 0, 0xD8, 0xFFFFFFBF}));
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
}

TEST_F(SimulatedCamera, SessionIdDoesNotFollowTheCard)
{
    const uint32_t before = session();
    for (const auto from : {"card/DCIM/103M3D_L", "card/DCIM/100MOXEL/MX030003.MP4", "card/catalogue.json"}) {
        std::filesystem::rename(folder.path(from), folder.path("aside"));
        database->refresh();
        EXPECT_NE(session(), before) << from;
        std::filesystem::rename(folder.path("aside"), folder.path(from));
        database->refresh();
        EXPECT_EQ(session(), before) << from;
    }
}

TEST_F(SimulatedCamera, CardThatHoldsFilesIsOverwritten)
{
    EXPECT_THROW(sim::makeCard(card), std::runtime_error);
}

// What a server answers in each case here when no fault befalls it.
static sim::Message goodAnswer(sim::Bytes request)
{
    sim::Message answer = sim::plainAnswer(request, DB_STATUS_OK);
    answer.appendRecord(uint32_t{5});
    return answer;
}

// Sends a request over a new connection. Gives the sizes of the messages that come, with a "!" when they are no good
// answer as far as they go, and how the connection ends.
static std::string outcome(int fd, const std::string &path, const std::string &expected)
{
    const db_request_header request = {DB_COMMAND_LIST, 1, 7};
    sockaddr_un address{AF_UNIX, {}};
    path.copy(address.sun_path, path.size());
    EXPECT_EQ(connect(fd, reinterpret_cast<sockaddr *>(&address), sizeof address), 0);
    EXPECT_EQ(send(fd, &request, sizeof request, MSG_NOSIGNAL), static_cast<ssize_t>(sizeof request));
    const sim::Message good = goodAnswer(sim::bytesOf(request));
    std::string seen;
    pollfd entry = {fd, POLLIN | POLLRDHUP, 0};
    for (bool open = true; open && poll(&entry, 1, seen == expected ? 20 : 2000) == 1;) {
        uint8_t bytes[2000];
        const ssize_t size = recv(fd, bytes, sizeof bytes, 0);
        open = size > 0 || (size == 0 && (entry.revents & POLLRDHUP) == 0);
        if (open) {
            const auto compared = std::min(static_cast<size_t>(size), good.size());
            const bool isGood = memcmp(bytes, good.bytes().data(), compared) == 0;
            seen += std::to_string(size) + (isGood ? " " : "! ");
        } else {
            seen += size == 0 ? "end " : "reset ";
        }
    }
    return seen;
}

TEST(SimulatorFaults, FaultAtAnotherRequestOrInAnotherForm)
{
    const struct {
        const char *pOptions;
        std::vector<std::string> outcomes;
        int carriedOut;
        bool hangsUp = false; ///< each client, before the next one comes
    } rows[] = {
        {"--busy 2 --drop 5 --truncate 3 --garble 7", {"24 ", "20! ", "13 ", "20! ", "", "14! ", "24! "}, 3},
        {"--delay 60000:2", {"24 ", "", "24 "}, 3},
        {"--delay 60000", {"", ""}, 2},
        {"--seed 2 --truncate 1 --busy 1 --busy 0", {"17 ", "8 ", "12 "}, 3},
        {"--empty 2 --too-long 3 --twice 5", {"24 ", "0 ", "1501 ", "0 ", "24 24 "}, 5},
        {"--empty @2 --twice 3", {"24 ", "0 ", "24 24 ", "24 "}, 4},
        {"--die before-reading:2", {"24 ", "reset "}, 1},
        {"--silence after-answer:1 --die after-reading:2", {"24 ", "end "}, 1},
        {"--die mid-answer:2", {"24 ", "12 end "}, 2},
        {"--drop 2 --die after-answer:2", {"24 ", "end "}, 1},
        {"--silence after-reading:2", {"24 ", "", ""}, 1},
        {"--twice 2 --silence after-answer:2", {"24 ", "24 24 ", ""}, 2},
        {"--delay 500:@2 --die mid-answer:2", {"24 ", "", "24 end "}, 3, true},
    };
    const TemporaryCard folder;
    const std::string path = folder.path("channel");
    for (int status = 0; const auto &row : rows) {
        SCOPED_TRACE(row.pOptions);
        wordexp_t words;
        sim::Options options;
        optind = wordexp((std::string("rtosMediaDBSim ") + row.pOptions).c_str(), &words, 0);
        ASSERT_TRUE(sim::readOptions(static_cast<int>(words.we_wordc), words.we_wordv, options));
        wordfree(&words);
        const sim::Channel channel(path);
        EXPECT_THROW(sim::Channel second(path), sim::ChannelTaken);
        const sim::UniqueFd stop(eventfd(0, 0));
        const auto answer = [&row, calls = 0](sim::Bytes request) mutable {
            calls++ < row.carriedOut ? void() : abort();
            return goodAnswer(request);
        };
        const pid_t child = fork();
        if (child == 0) {
            sim::Server(channel, answer, sim::Faults(options.faults)).run(stop.get());
            _exit(0);
        }
        for (std::list<sim::UniqueFd> fds; const std::string &expected : row.outcomes) {
            row.hangsUp ? fds.clear() : void();
            const int fd = fds.emplace_back(socket(AF_UNIX, SOCK_SEQPACKET, 0)).get();
            EXPECT_EQ(outcome(fd, path, expected), expected);
        }
        eventfd_write(stop.get(), 1);
        waitpid(child, &status, 0);
        EXPECT_EQ(status, options.faults.breakdown.dies ? SIGKILL : 0);
    }
}

TEST(SimulatorReplay, AnswersOfEqualRequestsOrTheirTokensMixedUp)
{
    const std::string asked = "Snd :\n[00000/00012]: 0A 00 00 00  01 00 00 00   11 11 11 11\n";
    const std::string answer(" 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 11 11 11 11\n");
    const std::string first = "Rcv :\n[00000/00020]:" + answer, second = "Rcv :\n[00000/00021]:" + answer;
    sim::Replay replay = sim::parseReplay(asked + first + asked + second.substr(0, second.size() - 1) + " 00\n", "d");
    for (const size_t size : {20U, 21U, 20U}) {
        const std::optional<sim::Message> got = replay.answer(sim::bytesOf(db_request_header{10, 1, 0x22222222}));
        ASSERT_TRUE(got && got->size() == size);
        EXPECT_EQ(got->bytes()[16], 0x22);
    }
    testing::internal::CaptureStderr();
    EXPECT_EQ(replay.answer(sim::bytesOf(db_request_header{9, 1, 0}))->bytes()[4], DB_STATUS_FAILURE);
    EXPECT_NE(testing::internal::GetCapturedStderr().find("not in the recording"), std::string::npos);
}

TEST(SimulatorReplay, DamagedRecordingIsTakenOrRefusedForAnotherReason)
{
    const std::string eight = " 00 00 00 00 00 00 00 00", bytes = eight + eight + eight + eight; // a full line
    const std::string snd = "Snd :\n", begun = snd + "[00000/00064]:" + bytes + '\n';
    const std::string broken = "bytes that do not go on with the message";
    const std::pair<std::string, std::string> rows[] = {
        {begun + "Rcv :\n", "3: the message above is not whole"},
        {begun + "[00000/00064]:" + bytes, "3: " + broken},
        {begun + "[00032/00063]:" + bytes, "3: " + broken},
        {snd + "[00000/00000]:", "2: " + broken},
        {snd + "[00000/01501]:", "2: a message of more than 1500 bytes"},
        {snd + "[00000/0064]: 00", "2: not \"[offset/length]:\""},
        {snd + "[00000/00064]: 00", "2: too few bytes"},
        {snd + "[00000/00064]: 00" + bytes, "2: too many bytes"},
        {snd + "[00000/00001]: 00 00", "2: too many bytes"},
        {snd + "[00000/00001]: 0", "2: not a byte of two hexadecimal digits"},
        {snd + "[00000/00001]: 000", "2: not a byte of two hexadecimal digits"},
        {"[00000/00001]: 00", "1: bytes without \"Snd :\" or \"Rcv :\" in front"},
        {"Rcv :\n", "1: an answer without a request"},
        {snd + "[00000/00001]: 00\n", "2: the recording ends without an exchange"},
    };
    for (const auto &[recording, reason] : rows) {
        std::string refusal = "taken";
        try {
            sim::parseReplay(recording, "file");
        } catch (const sim::ReplayError &error) {
            refusal = error.what();
        }
        EXPECT_EQ(refusal, "file:" + reason);
    }
}
