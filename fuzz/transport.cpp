#include "transport.h"

#include <algorithm>
#include <cstring>
#include <sanitizer/asan_interface.h>

#include "mxipc.h"
#include "support/card.h"
#include "support/effects.h"
#include "utilLog.h"

static Answers *pFar = nullptr;

void FUZZ_TARGET(Input &input);

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *pBytes, size_t size)
{
    Input input = {{pBytes, size}};
    effects().clear();
    printedBy([&] { FUZZ_TARGET(input); });
    return 0;
}

// Poison that a call leaves behind in its frame is gone when another call takes the frame.
extern "C" const char *__asan_default_options()
{
    return "detect_stack_use_after_return=1";
}

uint32_t Input::number(size_t width)
{
    uint32_t value = 0;
    const size_t taken = std::min(width, rest.size());
    std::copy_n(rest.begin(), taken, reinterpret_cast<uint8_t *>(&value));
    rest = rest.subspan(taken);
    return value;
}

Frame Input::frame()
{
    const uint32_t flags = number(2);
    const auto bytes = rest.first(std::min<size_t>(flags & 0x7FF, rest.size()));
    rest = rest.subspan(bytes.size());
    const bool isCut = (flags & LAST_BYTE_LACKS) != 0 && !bytes.empty();
    return {flags, {bytes.begin(), bytes.end() - isCut}};
}

std::string Input::text()
{
    const Bytes bytes = frame().bytes;
    return {bytes.begin(), std::find(bytes.begin(), bytes.end(), '\0')};
}

Answers::Answers(Input &source) : input(source), initsLeft(static_cast<int>(source.number(1)))
{
    static const TemporaryCard card;
    static const bool isLaidOut = [] {
        card.identify();
        card.write("DCIM/100MOXEL/MOXE0001.MP4", "12345");
        card.write("DCIM/100MOXEL/MOXE0002.JPG", "123");
        return true;
    }();
    REQUIRE(isLaidOut && pFar == nullptr);
    g_logLevel = input.number(1) % UTIL_LOG_LEVEL_LAST;
    pFar = this;
}

Answers::~Answers()
{
    REQUIRE(!isOpen);
    pFar = nullptr;
}

// Poisons what a buffer has behind its message, and frees the one before.
static void guard(void *pBuffer, size_t length)
{
    if (pFar->pGuarded != nullptr) {
        ASAN_UNPOISON_MEMORY_REGION(pFar->pGuarded, DB_MESSAGE_MAX_BYTES);
    }
    pFar->pGuarded = static_cast<uint8_t *>(pBuffer);
    if (pBuffer != nullptr) {
        ASAN_POISON_MEMORY_REGION(pFar->pGuarded + length, DB_MESSAGE_MAX_BYTES - length);
    }
}

bool wasReceived(const void *pBytes, size_t size)
{
    return __asan_region_is_poisoned(const_cast<void *>(pBytes), size) == nullptr;
}

// The doubles of the transport.
int mxIpcInit(const char *, mxIpcHandle *pHandle)
{
    REQUIRE(!pFar->isOpen);
    pFar->isOpen = --pFar->initsLeft != 0;
    pHandle->word[0] = pFar->isOpen;
    return pFar->isOpen ? 0 : FAILED_INIT;
}

int mxIpcSend(mxIpcHandle *, const void *pMessage, int length)
{
    constexpr int loggedExchanges = 200; // then no more, since walking a group of many members must not take long
    guard(nullptr, 0);
    db_request_header &request = pFar->request;
    REQUIRE(pFar->isOpen && !pFar->awaitingReceive);
    REQUIRE(length >= static_cast<int>(sizeof request) && length <= DB_MESSAGE_MAX_BYTES);
    memcpy(&request, pMessage, sizeof request);
    const size_t files = (static_cast<size_t>(length) - sizeof request) / sizeof(db_file_spec);
    REQUIRE(request.command_type != DB_COMMAND_VIDEO_SPECIFIC_INFO || (files == request.request_count && files > 0));
    g_logLevel = ++pFar->exchanges > loggedExchanges ? uint32_t{UTIL_LOG_LEVEL_OFF} : g_logLevel;
    pFar->answer = pFar->input.frame();
    pFar->awaitingReceive = (pFar->answer.flags & SEND_FAILS) == 0;
    return pFar->awaitingReceive ? 0 : FAILED_SEND;
}

int mxIpcReceive(mxIpcHandle *, void *pBuffer)
{
    REQUIRE(pFar->isOpen && pFar->awaitingReceive);
    pFar->awaitingReceive = false;
    auto &[flags, bytes] = pFar->answer;
    if ((flags & RECEIVE_FAILS) != 0) {
        return FAILED_RECEIVE;
    }
    std::replace(bytes.begin(), bytes.end(), uint8_t{'"'}, uint8_t{'#'});
    std::replace(bytes.begin(), bytes.end(), uint8_t{'\\'}, uint8_t{'/'});
    if ((flags & HEADER_STAYS) == 0 && bytes.size() >= DB_RESPONSE_BODY_OFFSET) {
        auto *pHeader = reinterpret_cast<db_response_header *>(bytes.data());
        pHeader->status = DB_STATUS_OK;
        pHeader->token = pFar->request.token;
    }
    const size_t received = std::min<size_t>(bytes.size(), DB_MESSAGE_MAX_BYTES);
    std::copy_n(bytes.begin(), received, static_cast<uint8_t *>(pBuffer));
    const bool cleared = pFar->gumisAreCleared && pFar->request.command_type == DB_COMMAND_GUMI_BY_FILE_NAME;
    const size_t kept = std::max<size_t>(received, cleared ? DB_RESPONSE_GUMI_OFFSET + 2 * DB_GUMI_BYTES : 0);
    std::fill_n(static_cast<uint8_t *>(pBuffer) + received, DB_MESSAGE_MAX_BYTES - received, uint8_t{0xEE});
    guard(pBuffer, kept);
    return static_cast<int>(bytes.size());
}

void mxIpcDestroy(mxIpcHandle *pHandle)
{
    guard(nullptr, 0);
    pFar->awaitingReceive = false;
    pFar->isOpen = pFar->isOpen && pHandle->word[0] == 0;
    *pHandle = {};
}
