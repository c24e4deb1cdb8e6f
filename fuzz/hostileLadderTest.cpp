// Every reader, with good messages of which the length and one word change step by step. What must hold then, the fuzz
// targets say.
#include <gtest/gtest.h>

#include <csignal>

#include "support/records.h"
#include "transport.h"
#include "utilLog.h"
#include "wireCursor.h"

using Target = void(Input &);
Target cahWalk, chapters, directCalls, mediaList, metadata, pagedList, requests, typedResponses;

// A reader and its input: messages at odd places, what stands around them at even ones.
struct Reader {
    const char *pName;
    Target *target;
    std::vector<Bytes> input;
    size_t places = DB_MESSAGE_MAX_BYTES; // words change in front of here
};

static const Reader *pReader = nullptr;
void ladder(Input &input)
{
    pReader->target(input);
}

// The simulated camera's reader, which takes its whole input for a request.
static void cameraAsked(Input &input)
{
    const Bytes request = input.frame().bytes;
    Input whole = {request};
    requests(whole);
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *pBytes, size_t size);

static Bytes framed(const Bytes &bytes)
{
    return message(static_cast<uint16_t>(bytes.size()), bytes);
}

static Bytes item(db_content_type type, uint32_t highlights = 2)
{
    return message(contentInfo(type, fileSpec(), highlights, DB_MEDIA_CLIPPED));
}

static Bytes video(uint32_t count)
{
    return message(db_video_specific_info{0, 1500, 41, 100, count, 0}, Bytes(count * sizeof count, 0x11));
}

// As many numbers as the masks have bits. Large masks mark none, so that they are read to their ends.
static Bytes group(size_t masks, uint32_t words = 1)
{
    const Bytes bits(masks * words * sizeof words, words == 1 ? 0x11 : 0xFF);
    return message(groupInfo(3, 0, 32 * words - 1, 24), bits);
}

// One page of a list that holds one entry more.
static Bytes page(uint32_t more)
{
    const uint32_t options = DB_LIST_OPTION_VIDEO_GROUPING | DB_LIST_OPTION_INCLUDE_GUMI | more;
    const Bytes behind = message(gumiOf(7), gumiOf(8), Bytes(more != 0 ? sizeof(db_more_info) : 0, 2));
    return message(listHeader(5, 6, options), item(0), behind, video(3), item(5), behind, group(2), item(2), behind,
                   group(1), item(7), behind, item(4), behind);
}

// As many records behind a head as fill a message.
static Bytes filled(const Bytes &head, const Bytes &record)
{
    Bytes bytes = head;
    while (bytes.size() + record.size() <= DB_MESSAGE_MAX_BYTES) {
        bytes << record;
    }
    return bytes;
}

static char current[200];

// Runs the reader with a word at a place of one of its messages, and with another length of that message.
static void run(size_t changed, size_t place, uint32_t word, size_t length)
{
    snprintf(current, sizeof current, "%s: message %zu, %08X at %zu, %zu bytes\n", pReader->pName, changed, word, place,
             length);
    Bytes input;
    for (size_t i = 0; i < pReader->input.size(); ++i) {
        Bytes bytes = pReader->input[i];
        if (i == changed) {
            memcpy(bytes.data() + place, &word, sizeof word);
            bytes.resize(length);
        }
        input << (i % 2 == 0 ? bytes : framed(bytes));
    }
    LLVMFuzzerTestOneInput(input.data(), input.size());
}

TEST(HostileLadder, ReadBeyondMessage)
{
    const Bytes plain = {0, UTIL_LOG_LEVEL_DEBUG}; // every opening succeeds
    const auto asked = [&plain](const std::string &query) {
        return message(framed(Bytes(query.begin(), query.end())), plain);
    };
    // A single record's counts are the largest for which the bytes behind the message are guarded.
    const db_response_header head = responseHeader(7);
    const Bytes content = message(head, item(7)), more = message(head, db_more_info{1920, 1080, 30, 1, 1, 1, 0});
    const Bytes oneVideo = message(head, item(0), video(345)), gumi = message(head, item(0), gumiOf(7), gumiOf(8));
    const Bytes oneGroup = message(head, item(1), group(2, 172)), name = message(head, fileSpec());
    const Bytes last = message(listHeader(1, 6), item(4)), items = filled(message(listHeader(24, 25)), item(7));
    const Bytes files = message(responseHeader(4, 0, 3), item(0), video(2), item(1), video(0), item(2), video(1));
    const Bytes manyFiles = filled(message(responseHeader(4, 0, 17)), message(item(0), video(0)));
    const Bytes pages = message(Bytes{3, 30}, Bytes(12), plain), walk = {1, 30, 0, 0, 0, 0};
    std::vector<Reader> readers = {
        {"v4info", metadata, {asked("p=100MOXEL/MOXE0001.MP4&t=v4info"), gumi, {}, oneVideo, {}, more}},
        {"videoinfo", metadata, {asked("p=100MOXEL/MOXE0001.MP4&t=videoinfo"), oneVideo, {}, more}},
        {"duration", metadata, {asked("p=100MOXEL/MOXE0001.MP4&t=dur"), oneVideo}},
        {"media list", mediaList, {asked("x"), page(8), {}, files, {}, last}, 130},
        {"lookup", mediaList, {asked("f=gumi&folder=100MOXEL&files=MOXE0001.MP4,MOXE0002.JPG"), gumi, {}, gumi}},
        {"paged list", pagedList, {pages, page(8), {}, files, {}, last}},
        {"paged items", pagedList, {pages, items}, 100},
        {"walk", cahWalk, {walk, page(0), plain, oneVideo}},
        {"page and walk", cahWalk, {message(Bytes{0, 30}, Bytes(4), plain), page(0), {}, oneVideo}},
        {"session files", cahWalk, {message(Bytes{2, 30}, Bytes(4), plain), items}, 100},
        {"chapters", chapters, {{}, message(item(2), group(1)), plain, files}},
        {"many chapters", chapters, {message(framed(message(item(2), groupInfo(3, 0, 31))), plain), manyFiles}, 104},
    };
    // Guarded counts, then the largest that a message can hold.
    for (const uint32_t words : {0u, 4u}) {
        for (const Bytes &one : {message(item(0), video(340 + words)), message(item(5, 0), group(1, 340 + words)),
                                 message(item(5), group(2, 170 + words / 2))}) {
            readers.push_back({"paged entry", pagedList, {pages, message(listHeader(1, 2), one)}, 130});
            readers.push_back({"walked entry", cahWalk, {walk, message(listHeader(1, 2), one)}, 130});
        }
    }
    for (uint8_t call = 2; const Bytes &largest : {message(item(0), video(349)), message(item(1), group(2, 174))}) {
        readers.push_back(
            {"largest record", directCalls, {message(Bytes{call++, 9}, plain), message(head, largest)}, 130});
    }
    for (uint8_t call = 2;
         const Bytes &answer : {message(head, item(0), video(0)), message(head, item(1, 0), groupInfo(3, 0, 31))}) {
        readers.push_back({"nothing behind the record", directCalls, {message(Bytes{call++, 9}, plain), answer}});
    }
    const Bytes done = message(head), histogram = message(head, Bytes(sizeof(db_upload_histogram), 1));
    for (uint8_t call = 0; const Bytes &answer : {content, more, oneVideo, oneGroup, gumi, name, done, histogram}) {
        readers.push_back({"direct call", directCalls, {message(Bytes{call++, 9}, plain), answer}});
    }
    for (uint8_t call = 0; const Bytes &answer : {content, oneVideo, gumi, more, done}) {
        readers.push_back({"typed response", typedResponses, {message(call++, plain), answer}});
    }
    const db_request_header three = {DB_COMMAND_VIDEO_SPECIFIC_INFO, 3, 1};
    for (const Bytes &request :
         {listRequest(20, 2, DB_LIST_OPTION_INCLUDE_GUMI, 0), fileRequest(DB_COMMAND_CONTENT_INFO),
          message(three, fileSpec(), fileSpec(), fileSpec()),
          filled(message(three.command_type, DB_FILE_REQUEST_MAX_FILES, 1), message(fileSpec())),
          fileRequest(DB_COMMAND_GROUP_CONTENT_INFO), message(fileRequest(DB_COMMAND_SET_UPLOAD_STATUS), 9)}) {
        readers.push_back({"request", cameraAsked, {{}, request}, 130});
    }
    signal(SIGABRT, [](int) { fputs(current, stderr); });
    for (const Reader &reader : readers) {
        pReader = &reader;
        for (size_t changed = 1; changed < reader.input.size(); changed += 2) {
            const Bytes &good = reader.input[changed];
            const auto wordAt = [&](size_t place) { return valueAt(good.data(), static_cast<uint32_t>(place / 4)); };
            for (size_t length = 0; length <= DB_MESSAGE_MAX_BYTES; ++length) {
                run(changed, 0, wordAt(0), length);
            }
            // No count is above 349 but the last number of a large group; a wrong one wraps when it is taken four
            // times. The last bytes of a buffer are not guarded when others follow in their granule.
            const size_t whole = std::min<size_t>(good.size(), DB_MESSAGE_MAX_BYTES - 12);
            for (size_t place = 0; place < std::min(good.size(), reader.places); place += 4) {
                for (const uint32_t word : {0u, 1u, wordAt(place) + 1, 0x40000001u, ~0u}) {
                    run(changed, place, word, whole);
                    size_t length = wordAt(place) <= 349 ? place + 4 : DB_MESSAGE_MAX_BYTES + 1;
                    for (; length <= DB_MESSAGE_MAX_BYTES; length += length < place + 130 ? 5 : 197) {
                        run(changed, place, word, length);
                    }
                }
            }
        }
    }
}
