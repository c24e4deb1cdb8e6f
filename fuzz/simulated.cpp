// Targets of the simulated camera: what a client may ask, and what people write for it.

#include "catalogueJson.h"
#include "chapterGroup.h"
#include "database.h"
#include "records.h"
#include "replay.h"
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

static std::string_view textOf(const Bytes &bytes)
{
    return {reinterpret_cast<const char *>(bytes.data()), bytes.size()};
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
    const Bytes request = input.block();
    const sim::Message message = database.answer(request);
    const Bytes answer(message.bytes().begin(), message.bytes().end());
    REQUIRE(answer.size() >= sizeof(db_response_header) && answer.size() <= DB_MESSAGE_MAX_BYTES);
    const auto &header = *reinterpret_cast<const db_response_header *>(answer.data());
    if (header.status == DB_STATUS_OK) {
        const auto &asked = *reinterpret_cast<const db_request_header *>(request.data());
        REQUIRE(header.token == asked.token && header.command_type == asked.command_type);
        REQUIRE(header.count_returned <= asked.request_count &&
                std::ranges::equal(answer, database.answer(request).bytes()));
        const bool isList = asked.command_type == DB_COMMAND_LIST;
        REQUIRE((!isList && asked.command_type != DB_COMMAND_VIDEO_SPECIFIC_INFO) ||
                isReadable(answer, isList, header.count_returned));
    }
}

void catalogueJson(Input &input)
{
    static const sim::CardFiles scanned = sim::scanCard(sampleCard());
    const Bytes text = input.block();
    sim::CardFiles files = scanned;
    try {
        sim::applyCatalogueJson(textOf(text), files, text.size() % 2 != 0);
        for (const sim::Item &item : sim::makeItems(files)) {
            sim::Message page;
            page.appendRecord(db_list_response_header{});
            REQUIRE(sim::appendEntry(page, item, DB_LIST_OPTION_INCLUDE_GUMI | DB_LIST_OPTION_INCLUDE_MORE_INFO));
        }
    } catch (const sim::CatalogueError &) {
    }
}

void replay(Input &input)
{
    const Bytes text = input.block();
    try {
        sim::Replay recorded = sim::parseReplay(textOf(text), "recording");
        REQUIRE(!recorded.isEmpty());
        const db_request_header unknown = {0x5EED5EED, 1, 77};
        const std::optional<sim::Message> answer = recorded.answer(sim::bytesOf(unknown));
        const sim::Message refusal = sim::plainAnswer(sim::bytesOf(unknown), DB_STATUS_FAILURE);
        REQUIRE(answer && std::ranges::equal(answer->bytes(), refusal.bytes()));
    } catch (const sim::ReplayError &) {
    }
}
