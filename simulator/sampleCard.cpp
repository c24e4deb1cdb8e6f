#include <algorithm>
#include <fstream>
#include <stdexcept>
#include <system_error>

#include <fcntl.h>
#include <sys/stat.h>

#include "catalogueJson.h"
#include "items.h"
#include "sampleCard.h"

namespace sim
{

namespace fs = std::filesystem;

namespace
{

// Files of one name pattern, in which their number stands for the hash signs.
struct Row {
    const char *pPattern;
    uint32_t first;
    uint32_t last;
    uint32_t size; // of the first file; each further one has some bytes more
};

constexpr Row rows[] = {
    // Single videos, a time lapse, chaptered videos with and without a gap, photos, a burst, a long time lapse.
    {"100MOXEL/MOXE####.MP4", 1, 4, 4096},
    {"100MOXEL/MOXE####.LRV", 1, 3, 512},
    {"100MOXEL/MX##0003.MP4", 1, 3, 2048},
    {"100MOXEL/MX##0003.LRV", 1, 3, 256},
    {"100MOXEL/MX##0004.MP4", 1, 1, 2200},
    {"100MOXEL/MX##0004.MP4", 3, 3, 1900},
    {"100MOXEL/MOXE####.JPG", 5, 8, 1500},
    {"100MOXEL/MOXE####.MP4", 9, 10, 1024},
    {"100MOXEL/MOXE####.LRV", 9, 9, 128},
    {"100MOXEL/G001####.JPG", 1, 5, 700},
    {"100MOXEL/G002####.JPG", 1, 6, 600},
    {"100MOXEL/G002####.JPG", 8, 32, 650},
    {"100MOXEL/G002####.JPG", 34, 40, 640},
    // Loops with and without a gap, the other kinds of photo groups, metadata sessions, a chapter without its video.
    {"101MOXEL/G003####.MP4", 3, 4, 1800},
    {"101MOXEL/G003####.MP4", 6, 7, 1700},
    {"101MOXEL/G003####.LRV", 3, 4, 180},
    {"101MOXEL/G004####.MP4", 1, 3, 1600},
    {"101MOXEL/G005####.JPG", 1, 2, 800},
    {"101MOXEL/G005####.JPG", 5, 12, 820},
    {"101MOXEL/G006####.JPG", 1, 8, 300},
    {"101MOXEL/MOXE####.MP4", 11, 11, 3000},
    {"101MOXEL/SESS####.MET", 12, 13, 90},
    {"101MOXEL/MOXE####.JPG", 14, 18, 1400},
    {"101MOXEL/MX##0077.MP4", 2, 2, 1100},
    // The right and the left eye of a pair of cameras.
    {"102M3D_R/MOXE####.JPG", 1, 2, 1300},
    {"102M3D_R/MOXE####.MP4", 3, 3, 2600},
    {"102M3D_R/G001####.JPG", 1, 3, 500},
    {"103M3D_L/MOXE####.JPG", 1, 2, 1310},
    {"103M3D_L/MOXE####.MP4", 3, 3, 2610},
    // What no catalogue lists: a name in lower case, a folder and a file that are no media.
    {"101MOXEL/MOXE####.jpg", 19, 19, 99},
    {"NOMEDIA/MOXE####.JPG", 20, 20, 77},
    {"100MOXEL/notes-#.txt", 1, 1, 33},
};

constexpr char sampleJson[] = R"({
  "100MOXEL/MOXE0001.MP4": {
    "duration_ms": 61500, "highlights": [1500, 4200, 59000], "has_eis": true, "audio": "auto",
    "metadata_present": true, "extra_bits": 5
  },
  "100MOXEL/MOXE0002.MP4": {
    "kind": "time_lapse_video", "duration_ms": 12000, "width": 3840, "height": 2160,
    "frame_rate_numerator": 24000
  },
  "100MOXEL/MOXE0003.MP4": {"duration_ms": 480000, "highlights": [30000], "zentra_audio": 3, "audio": "wind"},
  "100MOXEL/MX010003.MP4": {"duration_ms": 480000, "highlights": [10, 470000], "zentra_audio": 3, "audio": "wind"},
  "100MOXEL/MX020003.MP4": {"duration_ms": 480000, "zentra_audio": 3, "audio": "wind"},
  "100MOXEL/MX030003.MP4": {"duration_ms": 95400, "highlights": [90000], "zentra_audio": 3, "audio": "wind"},
  "100MOXEL/MOXE0004.MP4": {"duration_ms": 300000},
  "100MOXEL/MX010004.MP4": {"duration_ms": 300000},
  "100MOXEL/MX030004.MP4": {"duration_ms": 41000},
  "100MOXEL/MOXE0005.JPG": {"has_wdr": true, "upload_status": 2},
  "100MOXEL/MOXE0006.JPG": {"kind": "night_photo"},
  "100MOXEL/MOXE0007.JPG": {"kind": "raw_photo"},
  "100MOXEL/MOXE0008.JPG": {"highlights": [0], "has_raw": true},
  "100MOXEL/MOXE0009.MP4": {"clip_of": "100MOXEL/MOXE0001.MP4", "duration_ms": 5000, "highlights": [1500]},
  "100MOXEL/MOXE0010.MP4": {
    "transcode_of": "100MOXEL/MOXE0003.MP4", "duration_ms": 480000, "width": 1280, "height": 720,
    "is_progressive": false
  },
  "100MOXEL/G0010002.JPG": {"highlights": [0]},
  "100MOXEL/G0010004.JPG": {"highlights": [0]},
  "100MOXEL/G0020001.JPG": {"kind": "time_lapse_photo", "creation_time": 1589709600},
  "101MOXEL/G0030003.MP4": {"duration_ms": 60000},
  "101MOXEL/G0030004.MP4": {"duration_ms": 60000, "highlights": [59999]},
  "101MOXEL/G0030006.MP4": {"duration_ms": 60000},
  "101MOXEL/G0030007.MP4": {"duration_ms": 33700},
  "101MOXEL/G0040001.MP4": {"duration_ms": 120000},
  "101MOXEL/G0040002.MP4": {"duration_ms": 120000},
  "101MOXEL/G0040003.MP4": {"duration_ms": 7300},
  "101MOXEL/G0050001.JPG": {"kind": "night_lapse_photo", "upload_status": 30},
  "101MOXEL/G0050012.JPG": {"highlights": [0]},
  "101MOXEL/G0060001.JPG": {"kind": "continuous_photo"},
  "101MOXEL/MOXE0011.MP4": {
    "duration_ms": 90000, "audio": "stereo", "upload_status": 7,
    "highlights": [1000, 8000, 15000, 22000, 29000, 36000, 43000, 50000, 57000, 64000, 71000, 78000]
  },
  "101MOXEL/SESS0012.MET": {"kind": "metadata_session"},
  "101MOXEL/SESS0013.MET": {"kind": "metadata_session"},
  "101MOXEL/MX020077.MP4": {"duration_ms": 27000},
  "103M3D_L/MOXE0002.JPG": {"clip_of": "100MOXEL/MOXE0005.JPG"}
}
)";

// 17 May 2020, 10:00:00 UTC: time of a sample card's first file. Each further file is 7 seconds younger.
constexpr time_t firstTime = 1589709600;

// Writes files below a card, each once.
class CardWriter
{
  public:
    explicit CardWriter(fs::path card) : card_(std::move(card)) {}
    void write(const std::string &name, const std::string &content)
    {
        const fs::path path = card_ / name;
        fs::create_directories(path.parent_path());
        std::ofstream out(path, std::ios::binary);
        out << content;
        out.close();
        const timespec time = {firstTime + 7 * written_++, 0};
        const timespec times[2] = {time, time};
        if (!out || utimensat(AT_FDCWD, path.c_str(), times, 0) != 0) {
            throw std::system_error(errno, std::generic_category(), path.string());
        }
    }
    void write(const Row &row)
    {
        for (uint32_t number = row.first; number <= row.last; ++number) {
            std::string name = row.pPattern;
            uint32_t rest = number;
            for (size_t at = name.rfind('#'); at != std::string::npos && name[at] == '#'; --at) {
                name[at] = static_cast<char>('0' + rest % 10);
                rest /= 10;
            }
            write("DCIM/" + name, std::string(row.size + 3 * (number - row.first), 'x'));
        }
        const std::string_view pattern = row.pPattern;
        if (isMediaFolder(pattern.substr(0, 8)) && pattern.size() == 21 && !pattern.ends_with(".MET")) {
            scanned_ += row.last - row.first + 1;
        }
    }
    // Files so far that a scan of the card comes upon, LRV files included.
    uint32_t scanned() const
    {
        return scanned_;
    }

  private:
    fs::path card_;
    time_t written_ = 0;
    uint32_t scanned_ = 0;
};

// Writes the item with an index of a large card: a photo, a video, a chaptered video, a burst, and so on.
void writeFiller(CardWriter &writer, uint32_t index, uint32_t filler)
{
    constexpr uint32_t perFolder = 500;
    const std::string folder = std::to_string(200 + filler / perFolder) + "MOXEL/";
    const std::string number = std::to_string(10000 + filler % perFolder).substr(1);
    const auto put = [&](const std::string &pattern, uint32_t count) {
        writer.write({pattern.c_str(), 1, count, 3 + filler % 7});
    };
    switch (index % 4) {
    case 0:
        put(folder + "MOXE" + number + ".JPG", 1);
        break;
    case 1:
        put(folder + "MOXE" + number + ".MP4", 1);
        put(folder + "MOXE" + number + ".LRV", 1);
        break;
    case 2:
        put(folder + "MOXE" + number + ".MP4", 1);
        put(folder + "MX##" + number + ".MP4", 2);
        break;
    default:
        // What four files for each item so far leave to this one.
        put(folder + "G" + number.substr(1) + "####.JPG",
            std::max(4 * (index + 1), writer.scanned() + 1) - writer.scanned());
        break;
    }
}

} // namespace

void makeCard(const fs::path &card, uint32_t items)
{
    if (fs::exists(card)) {
        for (const fs::directory_entry &entry : fs::recursive_directory_iterator(card)) {
            if (entry.is_symlink() || !entry.is_directory()) {
                throw std::runtime_error(entry.path().string() + " is there already; no card is laid out over files");
            }
        }
    }
    CardWriter writer(card);
    for (const Row &row : rows) {
        writer.write(row);
    }
    writer.write("catalogue.json", sampleJson);

    CardFiles files = scanCard(card);
    applyCatalogueJson(sampleJson, files, false);
    const auto sampleItems = static_cast<uint32_t>(makeItems(files).size());
    for (uint32_t index = sampleItems; index < items; ++index) {
        writeFiller(writer, index, index - sampleItems);
    }
}

} // namespace sim
