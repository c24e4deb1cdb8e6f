#include "fieldFormatters.h"

#include <algorithm>

#include "fieldTable.h"
#include "fieldText.h"
#include "utilLog.h"
#include "wireCursor.h"

namespace
{

template <uint32_t Mask>
uint32_t property(const db_content_info &info)
{
    return mediaFlag(info.mediaProperties, Mask);
}

void writeName(mxMediaDBOutput *pMXMOut, int *pStatus, const char *pPrepend, const db_content_info &info)
{
    appendEntry(pMXMOut, pStatus, "%s\"n\":\"%.12s\"", pPrepend, info.file_name);
}

void writeSize(mxMediaDBOutput *pMXMOut, int *pStatus, const char *pPrepend, const db_content_info &info)
{
    appendEntry(pMXMOut, pStatus, "%s\"s\":\"%llu\"", pPrepend, static_cast<unsigned long long>(info.size));
}

void writeAudioOption(mxMediaDBOutput *pMXMOut, int *pStatus, const char *pPrepend, const db_content_info &info)
{
    appendEntry(pMXMOut, pStatus, "%s\"ao\":\"%s\"", pPrepend, audioOptionWord(info.mediaProperties));
}

constexpr fieldRow<db_content_info> contentInfoFields[] = {
    {FIELD_N, nullptr, nullptr, writeName},
    {FIELD_MOD, "mod", [](const db_content_info &info) -> uint32_t { return info.modification_time; }},
    {FIELD_CRE, "cre", [](const db_content_info &info) -> uint32_t { return info.creation_time; }},
    {FIELD_S, nullptr, nullptr, writeSize},
    {FIELD_HC, "hc", [](const db_content_info &info) -> uint32_t { return info.highlight_count; }},
    {FIELD_US, "us", [](const db_content_info &info) -> uint32_t { return info.uploadStatus; }},
    {FIELD_EIS, "eis", property<DB_MEDIA_HAS_EIS>},
    {FIELD_WDR, "wdr", property<DB_MEDIA_HAS_WDR>},
    {FIELD_ZTA, "zta", property<DB_MEDIA_ZENTRA_AUDIO>},
    {FIELD_AO, nullptr, nullptr, writeAudioOption},
    {FIELD_RAW, "raw", property<DB_MEDIA_HAS_RAW>},
    {FIELD_TR, "tr", property<DB_MEDIA_IS_A_TRANSCODE>},
    {FIELD_MP, "mp", property<DB_MEDIA_METADATA_PRESENT>},
};

struct gumiPair {
    const uint8_t *pGUMI;
    const uint8_t *pPGUMI;
};

void writeGUMI(mxMediaDBOutput *pMXMOut, int *pStatus, const char *pPrepend, const gumiPair &gumis)
{
    char digits[GUMI_DIGITS_BYTES];
    appendEntry(pMXMOut, pStatus, "%s\"gumi\":\"%s\"", pPrepend, gumiDigits(digits, gumis.pGUMI));
}

void writePGUMI(mxMediaDBOutput *pMXMOut, int *pStatus, const char *pPrepend, const gumiPair &gumis)
{
    char digits[GUMI_DIGITS_BYTES];
    appendEntry(pMXMOut, pStatus, "%s\"pgumi\":\"%s\"", pPrepend, gumiDigits(digits, gumis.pPGUMI));
}

constexpr fieldRow<gumiPair> gumiFields[] = {
    {FIELD_GUMI, nullptr, nullptr, writeGUMI},
    {FIELD_PGUMI, nullptr, nullptr, writePGUMI},
};

void writeLrvSize(mxMediaDBOutput *pMXMOut, int *pStatus, const char *pPrepend, const db_video_specific_info &video)
{
    if (video.lrv_size == 0) {
        appendEntry(pMXMOut, pStatus, "%s\"ls\":\"-1\"", pPrepend);
    } else {
        appendNumber(pMXMOut, pStatus, pPrepend, "ls", video.lrv_size);
    }
}

void writeHighlights(mxMediaDBOutput *pMXMOut, int *pStatus, const char *pPrepend, const db_video_specific_info &video)
{
    appendEntry(pMXMOut, pStatus, "%s\"hi\":[", pPrepend);
    appendHighlights(pMXMOut, pStatus, &video);
}

constexpr fieldRow<db_video_specific_info> videoInfoFields[] = {
    {FIELD_LS, nullptr, nullptr, writeLrvSize},
    {FIELD_CL, "cl", [](const db_video_specific_info &video) -> uint32_t { return video.is_clipped_file; }},
    {FIELD_HC, "hc", [](const db_video_specific_info &video) -> uint32_t { return video.highlight_count; }},
    {FIELD_HI, nullptr, nullptr, writeHighlights},
    {FIELD_DUR, "dur", [](const db_video_specific_info &video) { return roundedSeconds(video.duration); }},
};

void writeWidthHeight(mxMediaDBOutput *pMXMOut, int *pStatus, const char *pPrepend, const db_more_info &more)
{
    appendEntry(pMXMOut, pStatus, "%s\"w\":\"%d\",\"h\":\"%d\"", pPrepend, more.width, more.height);
}

void writeFrameRate(mxMediaDBOutput *pMXMOut, int *pStatus, const char *pPrepend, const db_more_info &more)
{
    appendEntry(pMXMOut, pStatus, "%s\"fps\":\"%d\",\"fps_denom\":\"%d\"", pPrepend, more.frame_rate_numerator,
                more.frame_rate_denominator);
}

void writeProgressive(mxMediaDBOutput *pMXMOut, int *pStatus, const char *pPrepend, const db_more_info &more)
{
    appendEntry(pMXMOut, pStatus, "%s\"prog\":\"%d\"", pPrepend, more.is_progressive);
}

void writeSubsampled(mxMediaDBOutput *pMXMOut, int *pStatus, const char *pPrepend, const db_more_info &more)
{
    appendEntry(pMXMOut, pStatus, "%s\"subsample\":\"%d\"", pPrepend, more.is_subsampled);
}

constexpr fieldRow<db_more_info> moreInfoFields[] = {
    {FIELD_WIDTH_HEIGHT, nullptr, nullptr, writeWidthHeight},
    {FIELD_FRAME_RATE, nullptr, nullptr, writeFrameRate},
    {FIELD_PROG, nullptr, nullptr, writeProgressive},
    {FIELD_SUBSAMPLE, nullptr, nullptr, writeSubsampled},
};

} // namespace

void appendHighlights(mxMediaDBOutput *pMXMOut, int *pStatus, const db_video_specific_info *pVideoInfo)
{
    const auto *pValues = reinterpret_cast<const uint8_t *>(pVideoInfo + 1);
    const uint32_t count = std::min<uint32_t>(pVideoInfo->highlight_count, HIGHLIGHTS_LISTED_MAX);
    for (uint32_t i = 0; i < count; ++i) {
        appendEntry(pMXMOut, pStatus, "%s%u", i == 0 ? "" : ",", valueAt(pValues, i));
    }
    appendEntry(pMXMOut, pStatus, "]");
}

int formatContentInfo(mxMediaDBOutput *pMXMOut, uint32_t whitelistMask, const db_content_info *pInfo)
{
    UTIL_ASSERT(pMXMOut);
    return pInfo == nullptr ? HTTP_OK : writeFields(contentInfoFields, pMXMOut, whitelistMask, "", *pInfo);
}

int formatGUMI(mxMediaDBOutput *pMXMOut, uint32_t whitelistMask, const char *pPrepend, const uint8_t *pGUMI,
               const uint8_t *pPGUMI)
{
    UTIL_ASSERT(pMXMOut);
    UTIL_ASSERT(pPrepend);
    if (pGUMI == nullptr) {
        return HTTP_OK;
    }
    if (pPGUMI == nullptr) {
        whitelistMask &= ~FIELD_PGUMI;
    }
    return writeFields(gumiFields, pMXMOut, whitelistMask, pPrepend, {pGUMI, pPGUMI});
}

int formatVideoInfo(mxMediaDBOutput *pMXMOut, uint32_t whitelistMask, const char *pPrepend,
                    const db_video_specific_info *pVideoInfo)
{
    UTIL_ASSERT(pMXMOut);
    UTIL_ASSERT(pPrepend);
    return pVideoInfo == nullptr ? HTTP_OK
                                 : writeFields(videoInfoFields, pMXMOut, whitelistMask, pPrepend, *pVideoInfo);
}

int formatMoreInfo(mxMediaDBOutput *pMXMOut, uint32_t whitelistMask, const char *pPrepend,
                   const db_more_info *pMoreInfo)
{
    UTIL_ASSERT(pMXMOut);
    UTIL_ASSERT(pPrepend);
    return pMoreInfo == nullptr ? HTTP_OK : writeFields(moreInfoFields, pMXMOut, whitelistMask, pPrepend, *pMoreInfo);
}
