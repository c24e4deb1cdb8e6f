#include <iomanip>
#include <iostream>
#include <iterator>
#include <vector>

#include <getopt.h>

#include "options.h"
#include "parseNumber.h"
#include "sampleCard.h"

namespace sim
{

namespace
{

constexpr char helpBegin[] =
    R"(Usage: rtosMediaDBSim [OPTION]...
Stands in for the media database of a camera: reads a card, follows it while it runs, and answers on the channel
"rtos_media_db". Prints one line, "rtosMediaDBSim: serving CARD at SOCKET", when it can be asked; ends on SIGTERM or
SIGINT.

)";

constexpr char helpEnd[] =
    R"(MOMENT is before-reading, after-reading (the request is not carried out), mid-answer (half of the answer goes,
as a message of its own) or after-answer. Of the two options the last one counts.

The card may hold a file catalogue.json, which tells what the media files can't:
  {"100MOXEL/MOXE0001.MP4": {"duration_ms": 61500, "highlights": [1500]}, ...}
with these keys for each file, of which rtosMediaDBSim(1) tells more:
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

// "N", every Nth request, or "@N", the Nth alone.
bool readRequests(std::string_view text, Requests &requests)
{
    const bool alone = text.starts_with('@');
    const auto number = parseNumber(text.substr(alone ? 1 : 0));
    requests = {number.value_or(0), alone};
    return number && !(alone && *number == 0);
}

template <Requests FaultSettings::*pRequests>
bool readFault(std::string_view text, Options &options)
{
    return readRequests(text, options.faults.*pRequests);
}

// "MS", which is every request, "MS:N" or "MS:@N".
bool readDelay(std::string_view text, Options &options)
{
    const size_t colon = text.find(':');
    const auto time = parseNumber(text.substr(0, colon), INT32_MAX);
    options.faults.delayTime = std::chrono::milliseconds(time.value_or(0));
    return time && readRequests(colon == text.npos ? "1" : text.substr(colon + 1), options.faults.delay);
}

// "MOMENT:N", with N above 0.
template <bool dies>
bool readBreakdown(std::string_view text, Options &options)
{
    constexpr std::pair<std::string_view, Moment> moments[] = {{"before-reading", Moment::beforeReading},
                                                               {"after-reading", Moment::afterReading},
                                                               {"mid-answer", Moment::midAnswer},
                                                               {"after-answer", Moment::afterAnswer}};
    const size_t colon = std::min(text.find(':'), text.size());
    const uint32_t request = parseNumber(text.substr(std::min(colon + 1, text.size()))).value_or(0);
    for (const auto &[word, moment] : moments) {
        if (word == text.substr(0, colon) && request != 0) {
            options.faults.breakdown = {moment, request, dies};
            return true;
        }
    }
    return false;
}

bool readNumber(std::string_view text, uint32_t most, uint32_t &value)
{
    const auto number = parseNumber(text, most);
    value = number.value_or(0);
    return number.has_value();
}

template <std::string Options::*pPath>
bool readPath(std::string_view text, Options &options)
{
    return !(options.*pPath = text).empty();
}

template <bool Options::*pSwitch>
bool setSwitch(std::string_view, Options &options)
{
    return options.*pSwitch = true;
}

// An option, or lines of the help that stand between options.
struct Row {
    const char *pName;     // null: no option
    const char *pArgument; // what the help calls it; empty: there is none
    bool (*read)(std::string_view argument, Options &options);
    const char *pHelp;
};

constexpr Row rows[] = {
    {"card", "DIR", readPath<&Options::card>, "the card (/tmp/fuse_d)"},
    {"make-card", "", setSwitch<&Options::makeCard>,
     "lay out a sample card in DIR and end; refused when DIR holds a file already"},
    {"items", "N", [](std::string_view text, Options &to) { return readNumber(text, maxSampleItems, to.items); },
     "with --make-card: go on until the card has N items, with four files for each on average"},
    {"replay", "FILE", readPath<&Options::replay>,
     "answer from FILE, what a console printed at log level 6, in place of a card; see rtosMediaDBSim(1)"},
    {"help", "", setSwitch<&Options::help>, "print this and end"},
    {nullptr, "", nullptr, R"(
Faults on demand, each on every Nth request of the run, or with @N in place of N on the Nth alone; 0, none, is what
stands when the option is not given:)"},
    {"busy", "N", readFault<&FaultSettings::busy>, "refuse the request with status 1 or 2"},
    {"drop", "N", readFault<&FaultSettings::drop>, "neither carry out nor answer the request"},
    {"truncate", "N", readFault<&FaultSettings::truncate>, "cut the answer short"},
    {"garble", "N", readFault<&FaultSettings::garble>, "change 1 to 8 bytes of the answer"},
    {"empty", "N", readFault<&FaultSettings::empty>, "answer with a message of no bytes"},
    {"too-long", "N", readFault<&FaultSettings::tooLong>, "answer with 1501 bytes: the answer, and zeros behind it"},
    {"twice", "N", readFault<&FaultSettings::twice>, "answer two times"},
    {"delay", "MS[:N]", readDelay,
     "answer after MS milliseconds, even if nobody waits that long; without N every request"},
    {"seed", "S", [](std::string_view text, Options &to) { return readNumber(text, UINT32_MAX, to.faults.seed); },
     "what is left to chance goes by S (1): same seed, same requests, same faults"},
    {nullptr, "", nullptr, "Breaking down, at the Nth request of the run, counted over all connections:"},
    {"die", "MOMENT:N", readBreakdown<true>, "die by SIGKILL"},
    {"silence", "MOMENT:N", readBreakdown<false>,
     "answer nobody any more, with all connections open, until SIGTERM or SIGINT"},
};
// What getopt returns for a row is its index, and a question mark for what it does not know.
static_assert(std::size(rows) < '?');

} // namespace

bool readOptions(int count, char *arguments[], Options &options)
{
    std::vector<option> table;
    for (int index = 0; const Row &row : rows) {
        if (row.pName != nullptr) {
            table.push_back({row.pName, *row.pArgument == '\0' ? no_argument : required_argument, nullptr, index});
        }
        ++index;
    }
    table.push_back({});
    for (int which; (which = getopt_long(count, arguments, "", table.data(), nullptr)) != -1;) {
        if (which == '?') {
            return false;
        }
        const Row &row = rows[which];
        if (const std::string_view text = optarg == nullptr ? "" : optarg; !row.read(text, options)) {
            std::cerr << "rtosMediaDBSim: --" << row.pName << ": not a value: " << text << '\n';
            return false;
        }
    }
    if (optind < count) {
        std::cerr << "rtosMediaDBSim: not an option: " << arguments[optind] << '\n';
        return false;
    }
    if (options.makeCard && !options.replay.empty()) {
        std::cerr << "rtosMediaDBSim: --make-card and --replay exclude each other\n";
        return false;
    }
    return true;
}

void printHelp(std::ostream &out)
{
    out << helpBegin << std::left;
    for (const Row &row : rows) {
        if (row.pName != nullptr) {
            out << "  " << std::setw(20) << std::string("--") + row.pName + ' ' + row.pArgument;
        }
        out << row.pHelp << '\n';
    }
    out << helpEnd;
}

} // namespace sim
