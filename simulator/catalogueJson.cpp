#include <algorithm>
#include <iterator>
#include <set>

#include <nlohmann/json.hpp>

#include "catalogueJson.h"

namespace sim
{

using nlohmann::json;

namespace
{

// Keys whose value is a whole number.
struct NumberKey {
    const char *pKey;
    uint32_t MediaFile::*pField;
    uint32_t least;
    uint32_t most;
};
constexpr NumberKey numberKeys[] = {
    {"avc_level", &MediaFile::avcLevel, 0, UINT32_MAX},
    {"avc_profile", &MediaFile::avcProfile, 0, UINT32_MAX},
    {"creation_time", &MediaFile::creationTime, 0, UINT32_MAX},
    {"duration_ms", &MediaFile::duration, 0, UINT32_MAX},
    {"extra_bits", &MediaFile::extraBits, 0, 127},
    {"frame_rate_denominator", &MediaFile::rateDenominator, 1, INT32_MAX},
    {"frame_rate_numerator", &MediaFile::rateNumerator, 0, INT32_MAX},
    {"height", &MediaFile::height, 0, INT32_MAX},
    {"lrv_size", &MediaFile::lrvSize, 0, UINT32_MAX},
    {"upload_status", &MediaFile::uploadStatus, 0, UPLOAD_STATUS_HISTOGRAM_SIZE - 2},
    {"width", &MediaFile::width, 0, INT32_MAX},
};

// Keys whose value is true or false, and the bit that it sets or clears.
struct FlagKey {
    const char *pKey;
    uint32_t MediaFile::*pField;
    uint32_t bit;
};
constexpr FlagKey flagKeys[] = {
    {"has_eis", &MediaFile::properties, DB_MEDIA_HAS_EIS},
    {"has_raw", &MediaFile::properties, DB_MEDIA_HAS_RAW},
    {"has_wdr", &MediaFile::properties, DB_MEDIA_HAS_WDR},
    {"is_progressive", &MediaFile::isProgressive, 1},
    {"is_subsampled", &MediaFile::isSubsampled, 1},
    {"metadata_present", &MediaFile::properties, DB_MEDIA_METADATA_PRESENT},
};

// A word of a key, and its code.
struct Word {
    const char *pWord;
    uint32_t code;
};
constexpr Word kinds[] = {
    {"single_video", DB_CONTENT_TYPE_SINGLE_VIDEO},           {"looped_video", DB_CONTENT_TYPE_LOOPED_VIDEO},
    {"chaptered_video", DB_CONTENT_TYPE_CHAPTERED_VIDEO},     {"time_lapse_video", DB_CONTENT_TYPE_TIME_LAPSE_VIDEO},
    {"single_photo", DB_CONTENT_TYPE_SINGLE_PHOTO},           {"burst_photo", DB_CONTENT_TYPE_BURST_PHOTO},
    {"time_lapse_photo", DB_CONTENT_TYPE_TIME_LAPSE_PHOTO},   {"metadata_session", DB_CONTENT_TYPE_METADATA_SESSION},
    {"night_lapse_photo", DB_CONTENT_TYPE_NIGHT_LAPSE_PHOTO}, {"night_photo", DB_CONTENT_TYPE_NIGHT_PHOTO},
    {"continuous_photo", DB_CONTENT_TYPE_CONTINUOUS_PHOTO},   {"raw_photo", DB_CONTENT_TYPE_RAW_PHOTO},
};
constexpr Word audioOptions[] = {
    {"off", 0},
    {"stereo", DB_MEDIA_AUDIO_OPTION_STEREO},
    {"wind", DB_MEDIA_AUDIO_OPTION_WIND},
    {"auto", DB_MEDIA_AUDIO_OPTION_AUTO},
};

uint32_t number(const json &value, uint32_t least, uint32_t most)
{
    if (!value.is_number_unsigned() || value.get<uint64_t>() < least || value.get<uint64_t>() > most) {
        throw CatalogueError("not a whole number from " + std::to_string(least) + " to " + std::to_string(most));
    }
    return value.get<uint32_t>();
}

bool flag(const json &value)
{
    if (!value.is_boolean()) {
        throw CatalogueError("neither true nor false");
    }
    return value.get<bool>();
}

uint32_t word(const json &value, std::span<const Word> words)
{
    const auto row = std::find_if(words.begin(), words.end(), [&](const Word &one) { return value == one.pWord; });
    if (row == words.end()) {
        std::string all;
        for (const Word &one : words) {
            all += (all.empty() ? "" : ", ") + std::string(one.pWord);
        }
        throw CatalogueError("not one of " + all);
    }
    return row->code;
}

std::string parent(const json &value, const std::string &path)
{
    if (!value.is_string() || !isMediaPath(value.get<std::string>()) || value == path) {
        throw CatalogueError("not the path of another media file");
    }
    return value.get<std::string>();
}

std::vector<uint32_t> highlights(const json &value)
{
    if (!value.is_array() || value.size() > maxHighlights) {
        throw CatalogueError("not a list of at most " + std::to_string(maxHighlights) + " numbers");
    }
    std::vector<uint32_t> list;
    std::transform(value.begin(), value.end(), std::back_inserter(list),
                   [](const json &one) { return number(one, 0, UINT32_MAX); });
    return list;
}

void setBits(uint32_t &field, uint32_t mask, uint32_t bits)
{
    field = (field & ~mask) | bits;
}

void applyKey(const std::string &key, const json &value, const std::string &path, MediaFile &file)
{
    const auto isKey = [&](const auto &row) { return key == row.pKey; };
    if (const auto row = std::find_if(std::begin(numberKeys), std::end(numberKeys), isKey);
        row != std::end(numberKeys)) {
        file.*row->pField = number(value, row->least, row->most);
    } else if (const auto at = std::find_if(std::begin(flagKeys), std::end(flagKeys), isKey);
               at != std::end(flagKeys)) {
        setBits(file.*at->pField, at->bit, flag(value) ? at->bit : 0);
    } else if (key == "audio") {
        setBits(file.properties, DB_MEDIA_AUDIO_OPTION_STEREO | DB_MEDIA_AUDIO_OPTION_WIND | DB_MEDIA_AUDIO_OPTION_AUTO,
                word(value, audioOptions));
    } else if (key == "clip_of") {
        file.clipOf = parent(value, path);
        file.properties |= DB_MEDIA_CLIPPED;
    } else if (key == "highlights") {
        file.highlights = highlights(value);
    } else if (key == "kind") {
        file.kind = static_cast<db_content_type>(word(value, kinds));
    } else if (key == "transcode_of") {
        parent(value, path);
        file.properties |= DB_MEDIA_IS_A_TRANSCODE;
    } else if (key == "zentra_audio") {
        setBits(file.properties, DB_MEDIA_ZENTRA_AUDIO, number(value, 0, 7) << 2);
    } else {
        throw CatalogueError("unknown key");
    }
}

// Runs a step and puts a place in front of what it complains of.
template <class Step>
void within(const std::string &place, Step step)
{
    try {
        step();
    } catch (const CatalogueError &error) {
        throw CatalogueError(place + ": " + error.what());
    }
}

json parseStrictly(std::string_view text)
{
    std::vector<std::set<std::string>> keys;
    const auto once = [&](int, json::parse_event_t event, json &parsed) {
        if (event == json::parse_event_t::object_start) {
            keys.emplace_back();
        } else if (event == json::parse_event_t::object_end) {
            keys.pop_back();
        } else if (event == json::parse_event_t::key && !keys.back().insert(parsed.get<std::string>()).second) {
            throw CatalogueError(parsed.get<std::string>() + ": given twice");
        }
        return true;
    };
    try {
        return json::parse(text, once);
    } catch (const json::exception &error) {
        const std::string_view message = error.what();
        throw CatalogueError(std::string(message.substr(message.find("] ") + 2)));
    }
}

void applyEntry(const std::string &path, const json &keys, CardFiles &files, bool missingAllowed)
{
    const auto file = files.find(path);
    if (file == files.end() && !(missingAllowed && isMediaPath(path))) {
        throw CatalogueError("no media file of that name is on the card");
    }
    if (!keys.is_object()) {
        throw CatalogueError("not an object");
    }
    if (file == files.end()) {
        return;
    }
    for (const auto &pair : keys.items()) {
        within(pair.key(), [&] { applyKey(pair.key(), pair.value(), path, file->second); });
    }
}

} // namespace

void applyCatalogueJson(std::string_view text, CardFiles &files, bool missingAllowed)
{
    within("catalogue.json", [&] {
        const json root = parseStrictly(text);
        if (!root.is_object()) {
            throw CatalogueError("not an object with a key for each file");
        }
        for (const auto &entry : root.items()) {
            within(entry.key(), [&] { applyEntry(entry.key(), entry.value(), files, missingAllowed); });
        }
    });
}

} // namespace sim
