// The target of the simulated camera: what a client may ask.
#include "chapterGroup.h"
#include "database.h"
#include "sampleCard.h"
#include "support/card.h"
#include "transport.h"

static std::filesystem::path sampleCard()
{
    static const TemporaryCard card;
    sim::makeCard(card.path());
    // Statuses that are set go nowhere, else the file would grow with each run.
    std::filesystem::create_directories(card.path("MISC"));
    std::filesystem::create_symlink("/dev/null", card.path("MISC/upload_status"));
    return card.path();
}

static Bytes copyOf(std::span<const uint8_t> bytes)
{
    return {bytes.begin(), bytes.end()};
}

// Whether a client can read an answer, as many records as it promises and to its last byte.
static bool isReadable(const Bytes &answer, bool isList, uint32_t count)
{
    const auto length = static_cast<int>(answer.size());
    const uint32_t options = reinterpret_cast<const db_list_response_header *>(answer.data())->list_options;
    wireCursor cursor = wireCursorAt(answer.data(), length, isList ? DB_LIST_ENTRIES_OFFSET : DB_RESPONSE_BODY_OFFSET);
    listEntry entry;
    videoFile file;
    while (count != 0 && (isList ? readListEntry(&cursor, options, &entry) : takeVideoFile(&cursor, &file))) {
        --count;
    }
    return count == 0 && cursor.remaining == 0;
}

void requests(Input &input)
{
    static sim::Database database(sampleCard());
    const Bytes request = copyOf(input.rest);
    const Bytes answer = copyOf(database.answer(request).bytes());
    REQUIRE(answer.size() >= sizeof(db_response_header) && answer.size() <= DB_MESSAGE_MAX_BYTES);
    const auto &header = *reinterpret_cast<const db_response_header *>(answer.data());
    if (header.status == DB_STATUS_OK) {
        const auto &asked = *reinterpret_cast<const db_request_header *>(request.data());
        REQUIRE(header.token == asked.token && header.command_type == asked.command_type);
        REQUIRE(header.count_returned <= asked.request_count && answer == copyOf(database.answer(request).bytes()));
        const bool isList = asked.command_type == DB_COMMAND_LIST;
        REQUIRE((!isList && asked.command_type != DB_COMMAND_VIDEO_SPECIFIC_INFO) ||
                isReadable(answer, isList, header.count_returned));
    }
}
