#include "printers.h"

#include <algorithm>
#include <bit>
#include <cstdio>
#include <ctime>
#include <iterator>

#include "maskBit.h"

namespace
{

struct namedBits {
    const char *pName;
    uint32_t mask;
};

// The fields of `mediaProperties`, lowest bits first.
constexpr namedBits mediaPropertyFields[] = {
    {"clipped", DB_MEDIA_CLIPPED},
    {"has_EIS", DB_MEDIA_HAS_EIS},
    {"zentra_audio", DB_MEDIA_ZENTRA_AUDIO},
    {"audio_option_stereo", DB_MEDIA_AUDIO_OPTION_STEREO},
    {"audio_option_wind", DB_MEDIA_AUDIO_OPTION_WIND},
    {"audio_option_auto", DB_MEDIA_AUDIO_OPTION_AUTO},
    {"has_WDR", DB_MEDIA_HAS_WDR},
    {"has_RAW", DB_MEDIA_HAS_RAW},
    {"is_a_transcode", DB_MEDIA_IS_A_TRANSCODE},
    {"metadata_present", DB_MEDIA_METADATA_PRESENT},
};

// Words of the content types, from 0 on.
constexpr const char *contentTypeWords[] = {
    "SINGLE_VIDEO",     "LOOPED_VIDEO",     "CHAPTERED_VIDEO",   "TIME_LAPSE_VIDEO", "SINGLE_PHOTO",     "BURST_PHOTO",
    "TIME_LAPSE_PHOTO", "METADATA_SESSION", "NIGHT_LAPSE_PHOTO", "NIGHT_PHOTO",      "CONTINUOUS_PHOTO", "RAW_PHOTO",
};
static_assert(std::size(contentTypeWords) == DB_CONTENT_TYPE_RAW_PHOTO + 1);

constexpr char itemSeparator[] = "===========================================================================";
static_assert(sizeof itemSeparator == 75 + 1);

unsigned long long wide(uint64_t value)
{
    return value;
}

// The end of a list: its line's end, and an empty line.
void endList()
{
    printf("\n\n");
}

void printContentTypeWord(int32_t contentType)
{
    const auto index = static_cast<uint32_t>(contentType);
    if (index < std::size(contentTypeWords)) {
        printf("%s", contentTypeWords[index]);
    } else {
        printf("invalid(%d)", contentType);
    }
}

const char *timeText(uint32_t seconds)
{
    const time_t time = seconds;
    const tm *pTime = gmtime(&time);
    const char *pText = pTime != nullptr ? asctime(pTime) : nullptr;
    return pText != nullptr ? pText : "\n";
}

} // namespace

void printContentInfo(const db_content_info &info, contentBlockSize size)
{
    printf("Received db_content_info: %.08s/%.12s\n", info.dir_name, info.file_name);
    printf("                      content_type %u\n", static_cast<uint32_t>(info.content_type));
    printf("                      creation_time %u\n", info.creation_time);
    printf("                      modification_time %u\n", info.modification_time);
    printf("                      size %llu\n%s", wide(info.size), size == SIZE_THEN_EMPTY_LINE ? "\n" : "");
    printf("                      highlight_count %u\n", info.highlight_count);
    printf("                      mediaProperties 0x%x\n", info.mediaProperties);
    for (const namedBits &field : mediaPropertyFields) {
        const uint32_t value = (info.mediaProperties & field.mask) >> std::countr_zero(field.mask);
        printf("                          %s %u\n", field.pName, value);
    }
    printf("                      uploadStatus %u\n", info.uploadStatus);
}

void printMoreInfo(const db_more_info &info)
{
    printf("                      width %d\n", info.width);
    printf("                      height %d\n", info.height);
    printf("                      frame_rate_numerator %d\n", info.frame_rate_numerator);
    printf("                      frame_rate_denominator %d\n", info.frame_rate_denominator);
    printf("                      is_progressive %d\n", info.is_progressive);
    printf("                      is_subsampled %d\n", info.is_subsampled);
}

void printGroupContentInfo(const db_group_content_info &group)
{
    printf("\nReceived db_group_content_info: group_number %u\n", group.group_number);
    printf("                           first_number %u\n", group.first_number);
    printf("                           last_number %u\n", group.last_number);
    printf("                           num_missing %u\n", group.num_missing);
    printf("                           group_size %llu\n\n", wide(group.group_size));
}

void printMaskNumbers(const char *pLabel, const db_group_content_info &group, const uint8_t *pMask, uint32_t limit)
{
    if (limit == 0) {
        return;
    }
    printf("%s", pLabel);
    // Numbers count from the first one, so that a group at the top of the range comes to an end, too.
    constexpr uint32_t maskBits = DB_MASK_MAX_BYTES * 8;
    const uint32_t first = group.first_number;
    const uint32_t last = group.last_number;
    const uint32_t members = first <= last ? std::min(last - first, maskBits - 1) + 1 : 0;
    uint32_t found = 0;
    for (uint32_t i = 0; i < members && found < limit; ++i) {
        if (!maskBitIsSet(pMask, i)) {
            printf("\"%d\" ", static_cast<int>(first + i));
            ++found;
        }
    }
    endList();
}

void printVideoSpecificInfo(const db_video_specific_info &video)
{
    printf("\nReceived db_video_specific_info: lrv_size %u\n", video.lrv_size);
    printf("                            duration %u\n", video.duration);
    printf("                            avc_level %u\n", video.avc_level);
    printf("                            avc_profile %u\n", video.avc_profile);
    printf("                            highlight_count %u\n", video.highlight_count);
    printf("                            is_clipped_file %u\n\n", video.is_clipped_file);
}

void printHighlights(const uint32_t *pHighlights, uint32_t count)
{
    printf("Highlights: ");
    for (uint32_t i = 0; i < count; ++i) {
        printf("%u ", pHighlights[i]);
    }
    endList();
}

void printGumi(const char *pLabel, const uint8_t *pGumi)
{
    printf("%s", pLabel);
    for (int i = 0; i < DB_GUMI_BYTES; ++i) {
        printf("%02X", pGumi[i]);
    }
    printf("\n");
}

void printHistogram(const db_upload_histogram &histogram)
{
    for (int bin = 0; bin < UPLOAD_STATUS_HISTOGRAM_SIZE; ++bin) {
        printf("    BIN %d: COUNT %d\n", bin, static_cast<int>(histogram.count[bin]));
    }
}

void printCahItem(void *itemCookie, cah_item_s *pItem)
{
    printf("%s\n", itemSeparator);
    printf("0x%p: type=", itemCookie);
    printContentTypeWord(pItem->content_type);
    printf(", us=%d, size=%llu, GUMI=", static_cast<int>(pItem->upload_status), wide(pItem->size));
    if (pItem->gumi != nullptr) {
        printf("'%s' ", pItem->gumi);
    } else {
        printf("NULL ");
    }
    if (pItem->parent_gumi != nullptr) {
        printf("Parent='%s'\n", pItem->parent_gumi);
    } else {
        printf("Parent=NULL\n");
    }
    printf("creation time: %s", timeText(pItem->creation_time));
    if (pItem->highlight_count != 0) {
        printf("highlight_count=%d\n", static_cast<int>(pItem->highlight_count));
    }
    if (pItem->group_number != 0) {
        printf("group_number=%d, group_first=%d, group_last=%d, group_missing=%d\n\n",
               static_cast<int>(pItem->group_number), static_cast<int>(pItem->group_first),
               static_cast<int>(pItem->group_last), static_cast<int>(pItem->group_missing));
    }
}

void printCahFile(void *fileCookie, const char *pDirName, const char *pFileName)
{
    printf("0x%p: %s/%s\n", fileCookie, pDirName, pFileName);
}
