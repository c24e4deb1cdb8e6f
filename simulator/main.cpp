/**
 * @file main.cpp
 * rtosMediaDBSim: a simulated camera, as far as its media database goes.
 */
#include <charconv>
#include <csignal>
#include <cstring>
#include <iostream>
#include <optional>
#include <string_view>

#include <getopt.h>
#include <sys/resource.h>
#include <sys/signalfd.h>

#include "catalogueJson.h"
#include "rendezvous.h"
#include "replay.h"
#include "sampleCard.h"
#include "server.h"

namespace
{

enum ExitStatus { exitDone = 0, exitFailure = 1, exitUsage = 2, exitChannelTaken = 3 };

constexpr char helpText[] =
    R"(Usage: rtosMediaDBSim [OPTION]...
Stands in for the media database of a camera: reads a card, follows it while it runs, and answers on the channel
"rtos_media_db". Prints one line, "rtosMediaDBSim: serving CARD at SOCKET", when it can be asked; ends on SIGTERM or
SIGINT.

  --card DIR        the card (/tmp/fuse_d)
  --make-card       lay out a sample card in DIR and end; refused when DIR holds a file already
  --replay FILE     needs no card: answers as the camera did from which FILE was taken, the output of a console at log
                    level 6; README.md says how
  --items N         with --make-card: go on until the card has N items, with four files for each on average
  --help            print this and end

Faults on demand, each on every Nth request of the run; 0, none, is what stands when the option is not given:
  --busy N          refuse the request with status 1 or 2
  --drop N          neither carry out nor answer the request
  --truncate N      cut the answer short
  --garble N        change 1 to 8 bytes of the answer
  --empty N         answer with a message of no bytes
  --too-long N      answer with 1501 bytes: the answer, and zeros behind it
  --twice N         answer two times
  --delay MS[:N]    answer after MS milliseconds, even if nobody waits that long; without N every request
  --seed S          what is left to chance goes by S (1): same seed, same requests, same faults
Breaking down, at the Nth request of the run, counted over all connections:
  --die MOMENT:N    die by SIGKILL
  --silence MOMENT:N  answer nobody any more, with all connections open, until SIGTERM or SIGINT
MOMENT is before-reading, after-reading (the request is not carried out), mid-answer (half of the answer goes, as a
message of its own) or after-answer. Of the two options the last one counts.

The card may hold a file catalogue.json, which tells what the media files can't:
  {"100MOXEL/MOXE0001.MP4": {"duration_ms": 61500, "highlights": [1500]}, ...}
with these keys for each file:
  kind              single_video time_lapse_video looped_video chaptered_video single_photo night_photo raw_photo
                    burst_photo time_lapse_photo night_lapse_photo continuous_photo metadata_session
  clip_of, transcode_of               path of the parent
  highlights                          list of milliseconds; on a photo only their number counts
  duration_ms, lrv_size, avc_level, avc_profile, width, height, frame_rate_numerator, frame_rate_denominator,
  creation_time, extra_bits, upload_status, zentra_audio                                      numbers
  has_eis, has_wdr, has_raw, metadata_present, is_progressive, is_subsampled                  true or false
  audio             off stereo wind auto
Upload statuses that clients set are kept in MISC/upload_status on the card.

Exit status: 0 done, 1 failure, 2 wrong usage, 3 another database serves the channel.
)";

struct Options {
    std::string card = "/tmp/fuse_d";
    std::string replay; ///< empty: the card is served
    bool help = false;
    bool makeCard = false;
    uint32_t items = 0;
    sim::FaultSettings faults;
};

/** Reads a whole text as a number; nothing when it is none or above a limit. */
std::optional<uint32_t> number(std::string_view text, uint32_t most)
{
    uint32_t value = 0;
    const auto [pStop, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    const bool good = error == std::errc() && pStop == text.data() + text.size() && value <= most;
    return good ? std::optional(value) : std::nullopt;
}

/** "MS" or "MS:N". */
bool readDelay(std::string_view text, sim::FaultSettings &faults)
{
    const size_t colon = text.find(':');
    const auto time = number(text.substr(0, colon), INT32_MAX);
    const auto every = colon == text.npos ? std::optional(1U) : number(text.substr(colon + 1), UINT32_MAX);
    faults.delayTime = std::chrono::milliseconds(time.value_or(0));
    faults.delay = every.value_or(0);
    return time && every;
}

/** "MOMENT:N", with N above 0. */
bool readBreakdown(std::string_view text, bool dies, sim::Breakdown &breakdown)
{
    constexpr std::pair<std::string_view, sim::Moment> moments[] = {{"before-reading", sim::Moment::beforeReading},
                                                                    {"after-reading", sim::Moment::afterReading},
                                                                    {"mid-answer", sim::Moment::midAnswer},
                                                                    {"after-answer", sim::Moment::afterAnswer}};
    const size_t colon = std::min(text.find(':'), text.size());
    const uint32_t request = number(text.substr(std::min(colon + 1, text.size())), UINT32_MAX).value_or(0);
    for (const auto &[word, moment] : moments) {
        if (word == text.substr(0, colon) && request != 0) {
            breakdown = {moment, request, dies};
            return true;
        }
    }
    return false;
}

/** Reads the command line. False: it is wrong, and standard error says what. */
bool readOptions(int count, char *arguments[], Options &options)
{
    enum { card, makeCard, replay, help, delay, die, silence, firstNumber };
    struct NumberOption {
        const char *pName;
        uint32_t *pValue;
        uint32_t most;
    };
    const NumberOption numbers[] = {
        {"items", &options.items, sim::maxSampleItems}, {"busy", &options.faults.busy, UINT32_MAX},
        {"drop", &options.faults.drop, UINT32_MAX},     {"truncate", &options.faults.truncate, UINT32_MAX},
        {"garble", &options.faults.garble, UINT32_MAX}, {"empty", &options.faults.empty, UINT32_MAX},
        {"twice", &options.faults.twice, UINT32_MAX},   {"too-long", &options.faults.tooLong, UINT32_MAX},
        {"seed", &options.faults.seed, UINT32_MAX},
    };
    std::vector<option> table = {{"card", required_argument, nullptr, card},
                                 {"make-card", no_argument, nullptr, makeCard},
                                 {"help", no_argument, nullptr, help},
                                 {"replay", required_argument, nullptr, replay},
                                 {"delay", required_argument, nullptr, delay},
                                 {"die", required_argument, nullptr, die},
                                 {"silence", required_argument, nullptr, silence}};
    for (const NumberOption &row : numbers) {
        table.push_back({row.pName, required_argument, nullptr, firstNumber + static_cast<int>(&row - numbers)});
    }
    table.push_back({});
    for (int which, index = 0; (which = getopt_long(count, arguments, "", table.data(), &index)) != -1;) {
        bool good = true;
        if (which == '?') {
            return false;
        }
        if (which == card) {
            options.card = optarg;
        } else if (which == makeCard) {
            options.makeCard = true;
        } else if (which == help) {
            options.help = true;
        } else if (which == replay) {
            options.replay = optarg;
            good = !options.replay.empty();
        } else if (which == delay) {
            good = readDelay(optarg, options.faults);
        } else if (which == die || which == silence) {
            good = readBreakdown(optarg, which == die, options.faults.breakdown);
        } else {
            const NumberOption &row = numbers[which - firstNumber];
            const auto value = number(optarg, row.most);
            good = value.has_value();
            *row.pValue = value.value_or(0);
        }
        if (!good) {
            std::cerr << "rtosMediaDBSim: --" << table[static_cast<size_t>(index)].name << ": not a value: " << optarg
                      << '\n';
            return false;
        }
    }
    if (optind < count) {
        std::cerr << "rtosMediaDBSim: not an option: " << arguments[optind] << '\n';
    }
    return optind == count;
}

/** A descriptor that becomes readable on the signals that end a run. */
sim::UniqueFd stopSignals()
{
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGTERM);
    sigaddset(&signals, SIGINT);
    sigprocmask(SIG_BLOCK, &signals, nullptr);
    return sim::UniqueFd(signalfd(-1, &signals, SFD_CLOEXEC));
}

void serve(const Options &options)
{
    const sim::UniqueFd stop = stopSignals();
    // One descriptor for each client: as many as the system gives.
    rlimit descriptors{};
    getrlimit(RLIMIT_NOFILE, &descriptors);
    descriptors.rlim_cur = descriptors.rlim_max;
    setrlimit(RLIMIT_NOFILE, &descriptors);

    char path[RENDEZVOUS_PATH_BYTES];
    if (const int result = rendezvousPath(DB_CHANNEL_NAME, path, sizeof path); result < 0) {
        throw std::system_error(-result, std::generic_category(), "the folder of the channel can't be used");
    }
    const auto run = [&](auto &&source, const std::string &name) {
        const sim::Channel channel(path);
        std::cout << "rtosMediaDBSim: serving " << name << " at " << path << std::endl;
        sim::Server(channel, source, sim::Faults(options.faults)).run(stop.get());
    };
    if (options.replay.empty()) {
        run(sim::Database(options.card), options.card);
    } else {
        sim::Replay replay = sim::readReplay(options.replay);
        run([&replay](sim::Bytes request) { return replay.answer(request); }, options.replay);
    }
}

} // namespace

int main(int count, char *arguments[])
{
    Options options;
    if (!readOptions(count, arguments, options)) {
        std::cerr << "Try 'rtosMediaDBSim --help'.\n";
        return exitUsage;
    }
    try {
        if (options.help) {
            std::cout << helpText;
        } else if (options.makeCard) {
            sim::makeCard(options.card, options.items);
        } else {
            serve(options);
        }
        return exitDone;
    } catch (const sim::ChannelTaken &error) {
        std::cerr << "rtosMediaDBSim: " << error.what() << '\n';
        return exitChannelTaken;
    } catch (const std::exception &error) {
        std::cerr << "rtosMediaDBSim: " << error.what() << '\n';
        return exitFailure;
    }
}
