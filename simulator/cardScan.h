/**
 * @file cardScan.h
 * The files of a card, as far as a catalogue can be made of them.
 *
 * Media folders stand directly under "DCIM" and have 8 characters: three digits, the first of them not 0, and "MOXEL",
 * "M3D_R" or "M3D_L". Media files stand directly in a media folder and have 12 characters: any four, four digits, and
 * ".MP4", ".JPG" or ".MET" in upper case. An ".LRV" file is no media file of its own: it is the low-resolution video
 * of the MP4 file with the same first eight characters. Everything else on the card is left alone.
 */
#ifndef CARD_SCAN_H
#define CARD_SCAN_H

#include <cstdint>
#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "mxMediaRTOSDB.h"

namespace sim
{

/** One media file: what its name and `stat` tell, and room for what only catalogue.json can tell. */
struct MediaFile {
    std::string dir;                     ///< "100MOXEL"
    std::string name;                    ///< "MOXE0001.MP4"
    uint64_t size = 0;                   ///< bytes
    uint32_t modificationTime = 0;       ///< seconds since the epoch
    uint32_t creationTime = 0;           ///< the same, unless told otherwise
    std::optional<db_content_type> kind; ///< a content type that the name alone does not tell
    std::string clipOf;                  ///< path of the parent of a clip, else empty
    std::vector<uint32_t> highlights;    ///< milliseconds from the start; on a photo only their number counts
    uint32_t properties = 0;             ///< `DB_MEDIA_...`
    uint32_t uploadStatus = 0;           ///< 0 to 30
    uint32_t extraBits = 0;
    uint32_t lrvSize = 0;  ///< bytes of the LRV file; 0: there is none
    uint32_t duration = 0; ///< milliseconds
    uint32_t avcLevel = 0;
    uint32_t avcProfile = 0;
    uint32_t width = 0;
    uint32_t height = 0;
    uint32_t rateNumerator = 0;
    uint32_t rateDenominator = 1;
    uint32_t isProgressive = 0;
    uint32_t isSubsampled = 0;

    /** "100MOXEL/MOXE0001.MP4" */
    std::string path() const
    {
        return dir + '/' + name;
    }
};

/** The media files of a card by path, "100MOXEL/MOXE0001.MP4". */
using CardFiles = std::map<std::string, MediaFile>;

/** Most highlights of one item, so that its entry of a list fits one message. */
constexpr size_t maxHighlights = 300;

/** Tells whether a name is that of a media folder. */
bool isMediaFolder(std::string_view name);

/** Tells whether a name is that of a media file or of an LRV file. */
bool isMediaName(std::string_view name);

/** Tells whether a text is the path of a media file below "DCIM", on the card or not. */
bool isMediaPath(std::string_view path);

/** Reads a card. Folders and files that can't be read are passed over; a card without "DCIM" has no files. */
CardFiles scanCard(const std::filesystem::path &card);

} // namespace sim

#endif
