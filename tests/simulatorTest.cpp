/**
 * @file simulatorTest.cpp
 * The simulated camera: what it makes of a card, what it answers, and what it keeps.
 */
#include <algorithm>
#include <fstream>
#include <set>
#include <thread>

#include <gtest/gtest.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <sys/un.h>

#include "catalogueJson.h"
#include "database.h"
#include "faults.h"
#include "sampleCard.h"
#include "server.h"

namespace fs = std::filesystem;

namespace
{

using Octets = std::vector<uint8_t>;

constexpr uint32_t token = 0x600df00d;
constexpr uint32_t sampleItems = 32;

/** A sample card of a test's own, and requests to a database that serves it. */
class SimulatedCamera : public testing::Test
{
  protected:
    SimulatedCamera()
    {
        char folder[] = "/tmp/simulatorTest-XXXXXX";
        scratch = mkdtemp(folder);
        card = scratch / "card";
        sim::makeCard(card);
        database.emplace(card);
    }
    ~SimulatedCamera() override
    {
        fs::remove_all(scratch);
    }

    /** The bytes of records, one behind the other. */
    template <class... Records>
    static Octets bytes(const Records &...records)
    {
        Octets all;
        const auto add = [&all](const auto &record) {
            const auto *pRecord = reinterpret_cast<const uint8_t *>(&record);
            std::copy_n(pRecord, sizeof record, std::back_inserter(all));
        };
        (add(records), ...);
        return all;
    }
    template <class Record>
    static Record get(const Octets &bytes, size_t at)
    {
        Record record{};
        EXPECT_LE(at + sizeof record, bytes.size());
        if (at + sizeof record <= bytes.size()) {
            memcpy(&record, bytes.data() + at, sizeof record);
        }
        return record;
    }
    static db_file_spec spec(const std::string &path)
    {
        db_file_spec spec{};
        path.copy(spec.dir_name, 8);
        path.copy(spec.file_name, 12, 9);
        return spec;
    }
    Octets ask(const Octets &request)
    {
        const sim::Message answer = database->answer(request);
        return {answer.bytes().begin(), answer.bytes().end()};
    }
    Octets askFiles(uint32_t command, const std::vector<std::string> &paths)
    {
        Octets request = bytes(db_request_header{command, static_cast<uint32_t>(paths.size()), token});
        for (const std::string &path : paths) {
            std::ranges::copy(bytes(spec(path)), std::back_inserter(request));
        }
        return ask(request);
    }
    Octets askPage(uint32_t count, uint32_t start, uint32_t listOptions, uint32_t queryOptions)
    {
        return ask(bytes(db_list_request{{DB_COMMAND_LIST, count, token}, start, listOptions, queryOptions}));
    }
    uint32_t setStatus(const std::string &path, uint32_t status)
    {
        return get<uint32_t>(
            ask(bytes(db_upload_status_request{{DB_COMMAND_SET_UPLOAD_STATUS, 1, token}, spec(path), status})), 4);
    }
    uint32_t session()
    {
        return get<db_list_response_header>(askPage(0, 0, 0, 0), 0).session_id;
    }
    void write(const fs::path &name, const std::string &text)
    {
        std::ofstream(card / name) << text;
    }

    const Octets histogramRequest = bytes(db_request_header{DB_COMMAND_UPLOAD_HISTOGRAM, 1, token});
    fs::path scratch;
    fs::path card;
    std::optional<sim::Database> database;
};

/** Bytes of the entry at a place of a list response, and the path in it, read by the rules of the wire alone. */
size_t entryBytes(const Octets &page, size_t at, uint32_t listOptions, std::string &path)
{
    const auto word = [&](size_t offset) {
        uint32_t value = 0;
        EXPECT_LE(offset + 4, page.size());
        memcpy(&value, page.data() + std::min(offset, page.size() - 4), 4);
        return value;
    };
    path = std::string(page.begin() + static_cast<ptrdiff_t>(at) + 4, page.begin() + static_cast<ptrdiff_t>(at) + 24);
    const uint32_t type = word(at);
    size_t end = at + 60;
    end += (listOptions & 4) == 0 ? 0 : (word(at + 36) & 1) != 0 ? 32 : 16;
    end += (listOptions & 8) == 0 ? 0 : 28;
    const bool photos = type == 5 || type == 6 || type == 8 || type == 10;
    if (photos || ((type == 1 || type == 2) && (listOptions & 2) != 0)) {
        const size_t maskBytes = ((word(end + 8) - word(end + 4)) / 32 + 1) * 4;
        const bool highlighted = photos && word(at + 32) != 0;
        end += 24 + (word(end + 12) != 0 ? maskBytes : 0) + (highlighted ? maskBytes : 0);
    } else if (type <= 3) {
        end += 24 + 4 * word(end + 16);
    }
    return end - at;
}

TEST_F(SimulatedCamera, EntryOutOfStepOrPageNotFull)
{
    for (uint32_t row = 0; row < 48; ++row) {
        const uint32_t options = row % 16;
        const uint32_t pageSize = std::array{1U, 10U, 1000U}[row / 16];
        std::set<std::string> paths;
        for (uint32_t index = 0; index < sampleItems;) {
            const auto page = askPage(pageSize, index, options, 0);
            const auto header = get<db_list_response_header>(page, 0);
            const uint32_t count = header.header.count_returned;
            ASSERT_TRUE(header.header.status == 0 && header.start_index == index && header.list_options == options &&
                        header.total_entries == sampleItems && count >= 1 && count <= pageSize);
            size_t at = DB_LIST_ENTRIES_OFFSET;
            for (uint32_t i = 0; i < count; ++i) {
                std::string path;
                at += entryBytes(page, at, options, path);
                paths.insert(path);
            }
            ASSERT_EQ(at, page.size()) << "options " << options << " index " << index;
            index += count;
            if (count < pageSize && index < sampleItems) {
                ASSERT_GT(at + askPage(1, index, options, 0).size() - DB_LIST_ENTRIES_OFFSET, 1500U);
            }
        }
        EXPECT_EQ(paths.size(), sampleItems);
    }
    EXPECT_EQ(askPage(10, sampleItems, 0, 0).size(), 40U);
    EXPECT_EQ(askPage(10, 0xFFFFFFFF, 0, 0).size(), 40U);
}

TEST_F(SimulatedCamera, WrongSelection)
{
    const std::array<uint32_t, 2> totals[] = {
        {0, 32},     {0x100, 12}, {0x200, 17}, {0x400, 2},       {0x800, 1},       {0x1000, 0},
        {0x2000, 2}, {0x2400, 2}, {0x300, 29}, {0x301, 8},       {0x102, 1},       {0x302, 2},
        {0x204, 5},  {0x304, 9},  {0x1, 8},    {0xFFFFFB00, 30}, {0xFFFFFF00, 32}, {0xFFFFC000, 32}};
    for (const auto &[query, total] : totals) {
        const auto header = get<db_list_response_header>(askPage(0, 0, 0, query), 0);
        EXPECT_TRUE(header.total_entries == total && header.query_options == query)
            << std::hex << query << std::dec << ": " << header.total_entries;
    }
}

TEST_F(SimulatedCamera, MalformedRequestCarriedOut)
{
    const size_t lengths[] = {24, 0, 32, 32, 32, 0, 28, 32, 32, 36, 12, 0, 0};
    for (uint32_t command = 0; command < std::size(lengths); ++command) {
        for (size_t length = 0; length <= 40; ++length) {
            for (const uint32_t count : {0U, 1U, 2U, 0xFFFFFFFFU}) {
                Octets request = bytes(db_request_header{command, count, token});
                request.resize(std::max<size_t>(length, 12), 0xA5);
                request.resize(length);
                request.shrink_to_fit();
                const auto answer = ask(request);
                const auto header = get<db_response_header>(answer, 0);
                const bool good = length != 0 && length == lengths[command] && (count == 1 || command == 0);
                EXPECT_EQ(header.status != DB_STATUS_FAILURE, good && command != 9) << command << ' ' << length;
                EXPECT_TRUE(header.command_type == (length < 4 ? 0 : command) && header.rtos_db_version == 4);
                EXPECT_EQ(header.token, length < 12 ? 0 : token);
            }
        }
    }
}

TEST_F(SimulatedCamera, WrongShapeOfAnswer)
{
    struct Row {
        uint32_t command;
        std::vector<std::string> files;
        uint32_t status;
        uint32_t count;
        size_t bytes;
    };
    const std::string unknown = "100MOXEL/MOXE9999.MP4";
    const Row rows[] = {
        {2, {"100MOXEL/MOXE0001.MP4"}, 0, 1, 80},
        {2, {unknown}, 4, 0, 20},
        {2, {"101MOXEL/SESS0012.MET"}, 0, 1, 80},
        {3, {"100MOXEL/G0020001.JPG"}, 0, 1, 112},
        {3, {"100MOXEL/MOXE0001.MP4"}, 0, 1, 104},
        {3, {unknown}, 4, 0, 20},
        {4, {"100MOXEL/MOXE0001.MP4"}, 0, 1, 116},
        {4, {"100MOXEL/MOXE0005.JPG"}, 0, 1, 104},
        {4, {unknown}, 4, 0, 20},
        {4, {unknown, "100MOXEL/MX010003.MP4"}, 0, 2, 196},
        {4, std::vector(74, unknown), 0, 17, 1448},
        {7, {"100MOXEL/MOXE0009.MP4"}, 0, 1, 112},
        {7, {unknown}, 4, 0, 20},
        {8, {"100MOXEL/MOXE0002.MP4"}, 0, 1, 48},
        {8, {"101MOXEL/MOXE0019.jpg"}, 4, 0, 20},
        {8, {"NOMEDIA/MOXE0020.JPG"}, 4, 0, 20},
    };
    for (const Row &row : rows) {
        const auto answer = askFiles(row.command, row.files);
        const auto header = get<db_response_header>(answer, 0);
        EXPECT_TRUE(header.status == row.status && header.count_returned == row.count && answer.size() == row.bytes)
            << row.command << ' ' << row.files[0] << ": " << header.status << ' ' << header.count_returned << ' '
            << answer.size();
    }
    EXPECT_EQ(get<db_content_info>(askFiles(4, {unknown, unknown}), 20).content_type, DB_CONTENT_TYPE_NO_FILE);
}

TEST_F(SimulatedCamera, WholeItemTakenForItsFirstFile)
{
    const std::string first = "100MOXEL/MOXE0003.MP4";
    EXPECT_EQ(get<db_content_info>(askFiles(2, {first}), 20).size, 4102 + 2048 + 2051 + 2054U);
    EXPECT_EQ(get<db_content_info>(askFiles(4, {first}), 20).size, 4102U);
    EXPECT_EQ(get<db_video_specific_info>(askFiles(4, {first}), 80).duration, 480000U);
    EXPECT_EQ(get<db_video_specific_info>(askFiles(4, {"100MOXEL/MX010003.MP4"}), 80).lrv_size, 256U);
    // As one video: durations summed, highlights counted from the start of the first chapter.
    const auto entry = askPage(1, 4, 0, 0);
    EXPECT_EQ(get<db_video_specific_info>(entry, 100).duration, 3 * 480000U + 95400);
    const uint32_t highlights[] = {30000, 480010, 950000, 1530000};
    for (size_t i = 0; i < std::size(highlights); ++i) {
        EXPECT_EQ(get<uint32_t>(entry, 124 + 4 * i), highlights[i]);
    }
}

TEST_F(SimulatedCamera, WrongMask)
{
    // Numbers 1 to 12 without 3 and 4, a highlight on 12; numbers 3 to 7 without 5, a highlight on 4.
    const auto photos = askFiles(3, {"101MOXEL/G0050001.JPG"});
    EXPECT_EQ(std::vector(photos.begin() + 104, photos.end()), (Octets{0xCF, 0xF0, 0, 0, 0xFF, 0xEF, 0xFF, 0xFF}));
    const auto loop = askFiles(3, {"101MOXEL/G0030003.MP4"});
    EXPECT_EQ(std::vector(loop.begin() + 104, loop.end()), (Octets{0xD8, 0, 0, 0, 0xBF, 0xFF, 0xFF, 0xFF}));
    const auto group = get<db_group_content_info>(loop, 80);
    EXPECT_TRUE(group.group_number == 3 && group.first_number == 3 && group.last_number == 7 &&
                group.num_missing == 1 && group.group_size == 1800 + 1803 + 1700 + 1703);
}

TEST_F(SimulatedCamera, GumiUnstableOrParentMisplaced)
{
    const auto clip = askFiles(7, {"100MOXEL/MOXE0009.MP4"});
    const auto original = askFiles(7, {"100MOXEL/MOXE0001.MP4"});
    const auto transcode = askFiles(7, {"100MOXEL/MOXE0010.MP4"});
    EXPECT_TRUE(std::equal(clip.begin() + 96, clip.end(), original.begin() + 80));
    EXPECT_EQ(std::count(original.begin() + 96, original.end(), 0), 16);
    EXPECT_EQ(std::count(transcode.begin() + 96, transcode.end(), 0), 16);
    Octets request = bytes(db_request_header{DB_COMMAND_FILE_NAME_BY_GUMI, 1, token}, get<sim::Gumi>(clip, 80));
    database.emplace(card);
    const auto name = ask(request);
    EXPECT_EQ(std::string(name.begin() + 20, name.end()), "100MOXELMOXE0009.MP4");
    request.back() ^= 1;
    EXPECT_EQ(get<db_response_header>(ask(request), 0).status, 4U);
}

TEST_F(SimulatedCamera, AcknowledgedUploadStatusLost)
{
    const uint32_t before = session();
    EXPECT_EQ(setStatus("100MOXEL/MOXE0001.MP4", 31), 5U);
    EXPECT_EQ(setStatus("100MOXEL/MOXE9999.MP4", 1), 4U);
    EXPECT_EQ(session(), before);
    EXPECT_EQ(setStatus("100MOXEL/MX020003.MP4", 30), 0U);
    EXPECT_EQ(setStatus("100MOXEL/MOXE0001.MP4", 9), 0U);
    EXPECT_EQ(setStatus("100MOXEL/MOXE0001.MP4", 11), 0U);
    const uint32_t after = session();
    EXPECT_NE(after, before);
    // A record that was being written when the power went.
    std::ofstream(card / "MISC/upload_status", std::ios::app) << "05 100MOXEL/MOXE00";
    for (int start = 0; start < 2; ++start) {
        database.emplace(card);
        EXPECT_EQ(session(), after);
        EXPECT_EQ(get<db_content_info>(askFiles(2, {"100MOXEL/MOXE0001.MP4"}), 20).uploadStatus, 11U);
        EXPECT_EQ(get<db_content_info>(askFiles(4, {"100MOXEL/MOXE0003.MP4"}), 20).uploadStatus, 30U);
        const auto histogram = get<db_upload_histogram>(ask(histogramRequest), 20);
        EXPECT_EQ(histogram.count[0] + 100 * histogram.count[11] + 1000 * histogram.count[30], 27 + 100 + 2000U);
    }
    EXPECT_EQ(fs::file_size(card / "MISC/upload_status"), 50U);
    write("MISC/upload_status", "31 100MOXEL/MOXE0001.MP4\n");
    EXPECT_THROW(database.emplace(card), std::runtime_error);
}

TEST_F(SimulatedCamera, SessionIdDoesNotFollowTheCatalogue)
{
    const uint32_t before = session();
    const fs::path media = card / "DCIM", aside = card / "aside";
    const std::array<fs::path, 2> moves[] = {{media / "101MOXEL/MOXE0018.JPG", media / "101MOXEL/MOXE0028.JPG"},
                                             {media / "103M3D_L", media / "103M3D_R"},
                                             {media / "100MOXEL/MX030003.LRV", aside},
                                             {media / "100MOXEL/MX030003.MP4", aside},
                                             {card / "catalogue.json", aside},
                                             {card, scratch / "drawer"}};
    for (const auto &[from, to] : moves) {
        fs::rename(from, to);
        database->refresh();
        EXPECT_NE(session(), before) << from;
        fs::rename(to, from);
        database->refresh();
        EXPECT_EQ(session(), before) << from;
    }
    write("wifi_log.txt", "no part of the catalogue");
    EXPECT_FALSE(database->isOutdated());
}

TEST_F(SimulatedCamera, BadCatalogueJsonAccepted)
{
    // What is told of "100MOXEL/MOXE0001.MP4", and what is wrong with it; then whole texts.
    std::vector<std::array<std::string, 2>> rows = {
        {R"(7)", "not an object"},
        {R"({"colour": 1})", "colour: unknown key"},
        {R"({"upload_status": 31})", "upload_status: not a whole number from 0 to 30"},
        {R"({"width": -1})", "width: not a whole number from 0 to 2147483647"},
        {R"({"duration_ms": 1.5})", "duration_ms: not a whole number from 0 to 4294967295"},
        {R"({"highlights": [1, "2"]})", "highlights: not a whole number from 0 to 4294967295"},
        {R"({"has_eis": 1})", "has_eis: neither true nor false"},
        {R"({"audio": "loud"})", "audio: not one of off, stereo, wind, auto"},
        {R"({"clip_of": "100MOXEL/MOXE0001.MP4"})", "clip_of: not the path of another media file"},
        {R"({"kind": "burst_photo"})", "kind: the names of the files rule it out"},
    };
    for (auto &[text, message] : rows) {
        text = R"({"100MOXEL/MOXE0001.MP4": )" + text + "}";
        message = "100MOXEL/MOXE0001.MP4: " + message;
    }
    rows.push_back({"[1]", "not an object with a key for each file"});
    rows.push_back({R"({"x": {"y": 1, "y": 2}})", "y: given twice"});
    rows.push_back(
        {R"({"NOMEDIA/MOXE0020.JPG": {}})", "NOMEDIA/MOXE0020.JPG: no media file of that name is on the card"});
    rows.push_back({R"({"100MOXEL/G0010001.JPG": {"kind": "burst_photo"},
                        "100MOXEL/G0010002.JPG": {"kind": "continuous_photo"}})",
                    "100MOXEL/G0010002.JPG: kind: another file of the group is told to be of another kind"});
    rows.push_back({"{\n  \"x\": nothing", "parse error at line 2, column 9: "});
    const uint32_t before = session();
    for (const auto &[text, message] : rows) {
        write("catalogue.json", text);
        testing::internal::CaptureStderr();
        database->refresh();
        EXPECT_EQ(testing::internal::GetCapturedStderr().find("rtosMediaDBSim: catalogue.json: " + message), 0U)
            << text;
        EXPECT_EQ(session(), before);
        EXPECT_THROW(sim::Database anew(card), sim::CatalogueError);
    }
}

TEST_F(SimulatedCamera, FileOfNoItemOrOfTwo)
{
    fs::remove_all(card);
    // A chapter without video, a chapter number 0, groups cut by their span, letters for digits, LRV alone.
    const char *names[] = {"MX010001.MP4", "MX000002.MP4", "MOXE0002.MP4", "G0010001.JPG", "G0011025.JPG",
                           "G0019999.JPG", "G0010001.MP4", "GAB10001.JPG", "MOXE0003.LRV", "MX010004.JPG",
                           "SESS0005.MET", "G001000A.JPG", "MOXE0006.jpg"};
    fs::create_directories(card / "DCIM/999M3D_L");
    for (const char *pName : names) {
        write(fs::path("DCIM/999M3D_L") / pName, "x");
    }
    const auto items = sim::makeItems(sim::scanCard(card));
    std::string all;
    for (const sim::Item &item : items) {
        all += std::to_string(item.type) + ' ' + item.path().substr(9) + '+' + std::to_string(item.files.size()) + '\n';
    }
    EXPECT_EQ(all, "5 G0010001.JPG+1\n1 G0010001.MP4+1\n5 G0011025.JPG+1\n5 G0019999.JPG+1\n4 GAB10001.JPG+1\n"
                   "0 MOXE0002.MP4+1\n0 MX000002.MP4+1\n0 MX010001.MP4+1\n4 MX010004.JPG+1\n");
}

TEST_F(SimulatedCamera, CardOfWrongSizeOrOverFiles)
{
    EXPECT_THROW(sim::makeCard(card), std::runtime_error);
    sim::makeCard(scratch / "large", 1200);
    sim::Database large(scratch / "large");
    const auto &items = large.catalogue().items();
    EXPECT_EQ(items.size(), 1200U);
    size_t files = 0;
    for (const auto &entry : fs::recursive_directory_iterator(scratch / "large/DCIM")) {
        const std::string name = entry.path().filename();
        files += entry.is_regular_file() && name.size() == 12 && !name.ends_with(".MET") &&
                 sim::isMediaFolder(entry.path().parent_path().filename().native());
    }
    EXPECT_EQ(files, 4 * 1200U);
}

TEST_F(SimulatedCamera, FaultOnAnotherRequest)
{
    const auto good = ask(histogramRequest);
    const auto run = [&](uint32_t seed) {
        sim::Faults faults({.busy = 2,
                            .drop = 5,
                            .truncate = 3,
                            .garble = 7,
                            .delay = 4,
                            .delayTime = std::chrono::milliseconds(9),
                            .seed = seed});
        std::vector<Octets> answers;
        for (uint32_t i = 1; i <= 210; ++i) {
            const sim::Delivery delivery =
                faults.deliver(histogramRequest, [&](sim::Bytes bytes) { return database->answer(bytes); });
            EXPECT_EQ(delivery.answered, i % 5 != 0);
            EXPECT_EQ(delivery.delay.count(), delivery.answered && i % 4 == 0 ? 9 : 0);
            const Octets bytes(delivery.message.bytes().begin(), delivery.message.bytes().end());
            const size_t whole = i % 2 == 0 ? 20 : good.size();
            if (delivery.answered) {
                EXPECT_TRUE(i % 3 == 0 ? !bytes.empty() && bytes.size() < whole : bytes.size() == whole) << i;
                EXPECT_EQ(bytes == good, i % 2 != 0 && i % 3 != 0 && i % 7 != 0) << i;
            }
            answers.push_back(bytes);
        }
        return answers;
    };
    EXPECT_EQ(run(1), run(1));
    EXPECT_NE(run(1), run(2));
}

TEST_F(SimulatedCamera, ClientStalledByAnother)
{
    const std::string path = scratch / "socket";
    std::ofstream(path) << "stale";
    const sim::UniqueFd stop(eventfd(0, 0));
    std::optional<sim::Channel> channel(path);
    EXPECT_THROW(sim::Channel second(path), sim::ChannelTaken);
    sim::Server server(*channel, *database, sim::Faults({.delay = 3, .delayTime = std::chrono::minutes(1)}));
    std::thread thread([&] { server.run(stop.get()); });
    const auto connected = [&path] {
        sockaddr_un address{AF_UNIX, {}};
        path.copy(address.sun_path, path.size());
        sim::UniqueFd fd(socket(AF_UNIX, SOCK_SEQPACKET, 0));
        EXPECT_EQ(connect(fd.get(), reinterpret_cast<sockaddr *>(&address), sizeof address), 0);
        return fd;
    };
    sim::UniqueFd delayed = connected();
    const sim::UniqueFd idle = connected(), quick = connected();
    const auto exchange = [&quick](size_t size) {
        const Octets request(size, 0xEE);
        uint8_t answer[2000];
        pollfd polled = {quick.get(), POLLIN, 0};
        EXPECT_EQ(send(quick.get(), request.data(), size, 0), static_cast<ssize_t>(size));
        return poll(&polled, 1, 5000) == 1 ? recv(quick.get(), answer, sizeof answer, 0) : -1;
    };
    // No bytes; as many as a message has; a third request that waits for its answer; too many; its client gone.
    EXPECT_EQ(exchange(0), 20);
    EXPECT_EQ(exchange(1500), 20);
    EXPECT_EQ(send(delayed.get(), "late", 4, 0), 4);
    EXPECT_EQ(exchange(4000), 20);
    delayed = sim::UniqueFd();
    EXPECT_EQ(exchange(24), 20);
    const uint64_t one = 1;
    EXPECT_EQ(::write(stop.get(), &one, sizeof one), 8);
    thread.join();
    channel.reset();
    EXPECT_FALSE(fs::exists(path));
}

} // namespace
