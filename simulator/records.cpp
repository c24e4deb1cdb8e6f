#include <algorithm>

#include "records.h"

namespace sim
{

static_assert(DB_LIST_ENTRIES_OFFSET + sizeof(db_content_info) + 2 * sizeof(Gumi) + sizeof(db_more_info) +
                  std::max(sizeof(db_video_specific_info) + maxHighlights * sizeof(uint32_t),
                           sizeof(db_group_content_info) + 2 * maxSpan / 8) <=
              DB_MESSAGE_MAX_BYTES);

namespace
{

bool appendVideoRecord(Message &message, const MediaFile &file)
{
    db_video_specific_info video{};
    video.lrv_size = file.lrvSize;
    video.duration = file.duration;
    video.avc_level = file.avcLevel;
    video.avc_profile = file.avcProfile;
    video.highlight_count = static_cast<uint32_t>(file.highlights.size());
    video.is_clipped_file = (file.properties & DB_MEDIA_CLIPPED) != 0;
    return message.appendRecord(video) &&
           message.append({reinterpret_cast<const uint8_t *>(file.highlights.data()), 4 * file.highlights.size()});
}

// Passes on whether all was appended, and takes back what was when it was not all.
bool wholeOrNothing(Message &message, size_t sizeBefore, bool appended)
{
    if (!appended) {
        message.cut(sizeBefore);
    }
    return appended;
}

bool appendGumis(Message &message, const Item &item)
{
    return message.append(item.gumi) && (item.whole.clipOf.empty() || message.append(parentGumi(item.whole)));
}

bool appendByType(Message &message, const Item &item, uint32_t listOptions)
{
    if (isVideo(item.type) && !(isGroup(item.type) && (listOptions & DB_LIST_OPTION_VIDEO_GROUPING) != 0)) {
        return appendVideoRecord(message, item.whole);
    }
    return !isGroup(item.type) || (message.appendRecord(item.group) && message.append(item.missingMask) &&
                                   (isVideo(item.type) || message.append(item.highlightMask)));
}

} // namespace

db_content_info contentInfo(const Item &item, const MediaFile &file)
{
    db_content_info info{};
    info.content_type = item.type;
    std::copy(file.dir.begin(), file.dir.end(), info.dir_name);
    std::copy(file.name.begin(), file.name.end(), info.file_name);
    info.creation_time = file.creationTime;
    info.modification_time = file.modificationTime;
    info.highlight_count = static_cast<uint32_t>(file.highlights.size());
    info.mediaProperties = file.properties;
    info.uploadStatus = item.whole.uploadStatus;
    info.size = file.size;
    info.extra_bits = file.extraBits;
    return info;
}

db_more_info moreInfo(const MediaFile &file)
{
    db_more_info info{};
    info.width = static_cast<int32_t>(file.width);
    info.height = static_cast<int32_t>(file.height);
    info.frame_rate_numerator = static_cast<int32_t>(file.rateNumerator);
    info.frame_rate_denominator = static_cast<int32_t>(file.rateDenominator);
    info.is_progressive = static_cast<int32_t>(file.isProgressive);
    info.is_subsampled = static_cast<int32_t>(file.isSubsampled);
    return info;
}

Gumi parentGumi(const MediaFile &file)
{
    return file.clipOf.empty() ? Gumi{} : gumiOf(file.clipOf);
}

bool appendVideo(Message &message, const Item &item, const MediaFile &file)
{
    const size_t before = message.size();
    return wholeOrNothing(
        message, before,
        message.appendRecord(contentInfo(item, file)) &&
            (isVideo(item.type) ? appendVideoRecord(message, file) : message.appendRecord(db_video_specific_info{})));
}

bool appendGroup(Message &message, const Item &item)
{
    const size_t before = message.size();
    return wholeOrNothing(message, before,
                          message.appendRecord(contentInfo(item, item.whole)) && message.appendRecord(item.group) &&
                              message.append(item.missingMask) && message.append(item.highlightMask));
}

bool appendEntry(Message &message, const Item &item, uint32_t listOptions)
{
    const size_t before = message.size();
    return wholeOrNothing(
        message, before,
        message.appendRecord(contentInfo(item, item.whole)) &&
            ((listOptions & DB_LIST_OPTION_INCLUDE_GUMI) == 0 || appendGumis(message, item)) &&
            ((listOptions & DB_LIST_OPTION_INCLUDE_MORE_INFO) == 0 || message.appendRecord(moreInfo(item.whole))) &&
            appendByType(message, item, listOptions));
}

} // namespace sim
