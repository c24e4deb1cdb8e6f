// The simulated camera's faults and breakdowns as a client sees them, and its replay of a recording.
#include <filesystem>
#include <gtest/gtest.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>

#include "replay.h"
#include "server.h"

/** Sends a request over a new connection. Gives the sizes of the messages that come, and how it ends. */
static std::string outcome(int fd, const std::string &path, const std::string &expected)
{
    sockaddr_un address{AF_UNIX, {}};
    path.copy(address.sun_path, path.size());
    EXPECT_EQ(connect(fd, reinterpret_cast<sockaddr *>(&address), sizeof address), 0);
    EXPECT_EQ(send(fd, "a request", 9, MSG_NOSIGNAL), 9);
    std::string seen;
    pollfd entry = {fd, POLLIN | POLLRDHUP, 0};
    for (bool open = true; open && poll(&entry, 1, seen == expected ? 20 : 2000) == 1;) {
        char message[2000];
        const ssize_t size = recv(fd, message, sizeof message, 0);
        open = size > 0 || (size == 0 && (entry.revents & POLLRDHUP) == 0);
        seen += open ? std::to_string(size) + ' ' : size == 0 ? "end " : "reset ";
    }
    return seen;
}

TEST(SimulatorFaults, FaultAtAnotherRequestOrInAnotherForm)
{
    using sim::Moment;
    const struct {
        sim::FaultSettings faults;
        std::vector<std::string> outcomes;
        int carriedOut;
    } rows[] = {
        {{.empty = 2, .tooLong = 3, .twice = 5}, {"20 ", "0 ", "1501 ", "0 ", "20 20 "}, 5},
        {{.breakdown = {Moment::beforeReading, 2, true}}, {"20 ", "reset "}, 1},
        {{.breakdown = {Moment::afterReading, 2, true}}, {"20 ", "end "}, 1},
        {{.breakdown = {Moment::midAnswer, 2, true}}, {"20 ", "10 end "}, 2},
        {{.drop = 2, .breakdown = {Moment::afterAnswer, 2, true}}, {"20 ", "end "}, 1},
        {{.breakdown = {Moment::afterReading, 2, false}}, {"20 ", "", ""}, 1},
        {{.twice = 2, .breakdown = {Moment::afterAnswer, 2, false}}, {"20 ", "20 20 ", ""}, 2},
    };
    char folder[] = "/tmp/simulatorFaultsTest-XXXXXX";
    const std::string path = std::string(mkdtemp(folder)) + "/channel";
    for (int status = 0; const auto &row : rows) {
        SCOPED_TRACE(&row - rows);
        const sim::Channel channel(path);
        const sim::UniqueFd stop(eventfd(0, 0));
        const auto answer = [&row, calls = 0](sim::Bytes request) mutable {
            calls++ < row.carriedOut ? void() : abort();
            return sim::plainAnswer(request, DB_STATUS_OK);
        };
        const pid_t child = fork();
        if (child == 0) {
            sim::Server(channel, answer, sim::Faults(row.faults)).run(stop.get());
            _exit(0);
        }
        for (std::list<sim::UniqueFd> fds; const std::string &expected : row.outcomes) {
            const int fd = fds.emplace_back(socket(AF_UNIX, SOCK_SEQPACKET, 0)).get();
            EXPECT_EQ(outcome(fd, path, expected), expected);
        }
        eventfd_write(stop.get(), 1);
        waitpid(child, &status, 0);
        EXPECT_EQ(status, row.faults.breakdown.dies ? SIGKILL : 0);
    }
    std::filesystem::remove_all(folder);
}

TEST(SimulatorFaults, RecordingThatIsMisread)
{
    const std::string asked = "\nSnd :\n[00000/00012]: 02 00 00 00  01 00 00 00   aa aa aa aa  \r\n", got = "\nRcv :\n";
    const std::string word = " 09 00 00 00 ", line = word + word + word + word + word + word + word + word;
    const std::string answer = got + "[00000/00020]:" + line.substr(0, 65), frame = "Snd :\n[00000/00064]:" + line;
    const std::pair<std::string, std::string> rows[] = {
        {"> ci" + asked + answer + "\n[text]\n", "917 917 917 "},
        {asked + asked + got + asked + answer, "0 917 0 "},
        {asked + got + "[00000/00001]: 0F", "1 1 1 "},
        {"Snd :" + got + "[00000/00001]: 00", "517 517 517 "},
        {asked, "d:3: the recording ends without an exchange"},
        {asked + answer + got, "d:7: an answer without a request"},
        {"[00000/00001]: 00\n", "d:1: bytes without \"Snd :\" or \"Rcv :\" in front"},
        {"Snd :\n[", "d:2: not \"[offset/length]:\""},
        {"Snd :\n[00000/01501]:" + line, "d:2: a message of more than 1500 bytes"},
        {"Snd :\n[00000/00000]:", "d:2: bytes that do not go on with the message"},
        {frame + "\n[00032/00065]:", "d:3: bytes that do not go on with the message"},
        {frame + got, "d:3: the message above is not whole"},
        {frame + " 00", "d:2: too many bytes"},
        {"Snd :\n[00000/00002]: 00", "d:2: too few bytes"},
        {"Snd :\n[00000/00002]: 00 0", "d:2: not a byte of two hexadecimal digits"},
    };
    for (const db_request_header request{2, 1, 17U << 24}; const auto &[recording, expected] : rows) {
        testing::internal::CaptureStderr();
        std::string seen; // what the request gets each time: 100 * status + last byte, or the size of a short message
        try {
            sim::Replay replay = sim::parseReplay(recording, "d");
            for (int i = 0; i < 3; ++i) {
                const auto back = replay.answer(sim::bytesOf(request)).value_or(sim::Message());
                seen +=
                    std::to_string(back.size() < 20 ? back.size() : back.bytes()[4] * 100U + back.bytes()[19]) + ' ';
            }
        } catch (const sim::ReplayError &error) {
            seen = error.what();
        }
        EXPECT_EQ(seen, expected);
        EXPECT_EQ(std::ranges::count(testing::internal::GetCapturedStderr(), '\n'), seen[0] == '5' ? 3 : 0);
    }
}
