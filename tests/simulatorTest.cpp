// The simulated camera where the console does not show it: answers word by word, a card that changes, faults at random
// and recordings that can't be read.
#include <gtest/gtest.h>

#include "faults.h"
#include "replay.h"
#include "sampleCard.h"
#include "server.h"
#include "support/card.h"
#include "support/records.h"

using Words = std::vector<uint32_t>;

// A sample card and its database.
struct SimulatedCamera : testing::Test {
    // The words of an answer from one of them on. At 1 stands the status, at 5 the body, from 10 on the list's entries.
    Words ask(const Bytes &request, ptrdiff_t place = 0)
    {
        const sim::Message answer = database.answer(request);
        Words words(answer.size() / sizeof(uint32_t));
        memcpy(words.data(), answer.bytes().data(), answer.size());
        return {words.begin() + place, words.end()};
    }
    Words askFile(uint32_t command, const std::string &path, ptrdiff_t place)
    {
        return ask(fileRequest(command, fileSpec(path.substr(0, 8), path.substr(9))), place);
    }
    const TemporaryCard folder;
    const std::filesystem::path card = (sim::makeCard(folder.path("card")), folder.path("card"));
    sim::Database database{card};
};

TEST_F(SimulatedCamera, ItemToldWrongOrPassedOver)
{
    const uint32_t session = database.catalogue().sessionId();
    EXPECT_EQ(ask(listRequest(0, 7, 13, 0x305)), (Words{0, 0, 0, 4, 0, 7, 13, 0x305, 4, session}));
    EXPECT_EQ(askFile(2, "101MOXEL/MOXE0019.jpg", 0), (Words{2, 4, 0, 4, 0}));
    // A video and 73 files that are not there: as many as fit.
    const Bytes files = message(db_request_header{4, 74, 0}, fileSpec("100MOXEL", "MX010003.MP4"), Bytes(73 * 20));
    EXPECT_EQ(ask(files).at(2), 17U);
    // A chaptered video's first file, its second, and all of it as one entry: highlights count from its start.
    EXPECT_EQ(askFile(4, "100MOXEL/MOXE0003.MP4", 16), (Words{4102, 0, 0, 0, 518, 480000, 42, 100, 1, 0, 30000}));
    EXPECT_EQ(askFile(4, "100MOXEL/MX010003.MP4", 20), (Words{256, 480000, 42, 100, 2, 0, 10, 470000}));
    EXPECT_EQ(ask(listRequest(1, 4, 0, 0), 25), (Words{1295, 1535400, 42, 100, 4, 0, 30000, 480010, 950000, 1530000}));
    // Numbers 1 to 12 without 3 and 4, a highlight on 12.
    EXPECT_EQ(askFile(3, "101MOXEL/G0050001.JPG", 20), (Words{5, 1, 12, 2, 8247, 0, 0xF0CF, 0xFFFFEFFF}));
}

TEST_F(SimulatedCamera, CardChangesUnnoticedOrIsOverwrittenOrChannelIsTakenAway)
{
    EXPECT_THROW(sim::makeCard(card), std::runtime_error);
    const uint32_t before = database.catalogue().sessionId();
    for (const auto from : {"card/DCIM/103M3D_L", "card/DCIM/100MOXEL/MX030003.MP4", "card/catalogue.json"}) {
        std::filesystem::rename(folder.path(from), folder.path("aside"));
        database.refresh();
        EXPECT_NE(database.catalogue().sessionId(), before) << from;
        std::filesystem::rename(folder.path("aside"), folder.path(from));
        database.refresh();
        EXPECT_EQ(database.catalogue().sessionId(), before) << from;
    }
    const sim::Channel channel(folder.path("channel"));
    EXPECT_THROW(sim::Channel(folder.path("channel")), sim::ChannelTaken);
}

TEST(SimulatorFaults, AnotherRequestIsHitOrInAnotherForm)
{
    // Of each request the length of its answer, with a "!" when it is no good one as far as it goes; "-" if there is
    // none. Then how many requests were carried out.
    const sim::Breakdown silent = {sim::Moment::afterReading, 6};
    const std::chrono::hours hour(1);
    const std::pair<sim::FaultSettings, std::string> rows[] = {
        {{.busy = 2, .drop = 5, .truncate = 3, .garble = 7}, "24 20! 13 20! - 14! 24! of 3"},
        {{.busy = 0, .truncate = 1, .seed = 2}, "17 8 12 10 14 17 7 of 7"},
        {{.empty = {2, true}, .tooLong = 3}, "24 0 1501 24 24 1501 24 of 7"},
        {{.twice = 3, .delay = {2, true}, .delayTime = hour, .breakdown = silent}, "24 late 24 +24 24 24 - 24 of 6"},
    };
    const db_request_header request = {DB_COMMAND_LIST, 1, 7};
    sim::Message good = sim::plainAnswer(sim::bytesOf(request), DB_STATUS_OK);
    good.appendRecord(uint32_t{5});
    for (const auto &[settings, outcome] : rows) {
        sim::Faults faults(settings);
        std::string seen;
        int carriedOut = 0;
        for (int number = 1; number <= 7; ++number) {
            const auto delivery = faults.deliver(sim::bytesOf(request), [&](auto) { return ++carriedOut, good; });
            const sim::Bytes bytes = delivery.message.bytes();
            const bool isGood = memcmp(bytes.data(), good.bytes().data(), std::min(bytes.size(), good.size())) == 0;
            seen += std::string(delivery.copies - 1, '+') + (delivery.delay.count() > 0 ? "late " : "");
            seen += delivery.answered ? std::to_string(bytes.size()) + (isGood ? " " : "! ") : "- ";
        }
        EXPECT_EQ(seen + "of " + std::to_string(carriedOut), outcome);
    }
}

TEST(SimulatorReplay, AnswersOfEqualRequestsOrTheirTokensMixedUp)
{
    const std::string asked = "Snd :\n[00000/00012]: 0A 00 00 00  01 00 00 00   11 11 11 11\n";
    const std::string answer(" 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 11 11 11 11");
    const std::string first = "Rcv :\n[00000/00020]:" + answer, second = "Rcv :\n[00000/00021]:" + answer + " 00";
    sim::Replay replay = sim::parseReplay(asked + first + "\n" + asked + second, "file");
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
    const std::pair<std::string, std::string> rows[] = {
        {begun + "Rcv :\n", "3: the message above is not whole"},
        {begun + "[00032/00063]:" + bytes, "3: bytes that do not go on with the message"},
        {snd + "[00000/01501]:", "2: a message of more than 1500 bytes"},
        {snd + "[00000/00001]: 00 00", "2: too many bytes"},
        {"Rcv :\n", "1: an answer without a request"},
        {snd + "[00000/00001]: 00\n", "2: the recording ends without an exchange"},
    };
    for (const auto &[recording, reason] : rows) {
        try {
            sim::parseReplay(recording, "file");
            ADD_FAILURE() << "taken, though " << reason;
        } catch (const sim::ReplayError &error) {
            EXPECT_EQ(error.what(), "file:" + reason);
        }
    }
}
