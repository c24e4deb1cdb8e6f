// Targets that look at what is printed: an answer is whole and as its status says.
#include <algorithm>
#include <cctype>
#include <cstring>
#include <nlohmann/json.hpp>
#include <set>
#include <utility>

#include "consoleRun.h"
#include "httpStatus.h"
#include "mediaListQuery.h"
#include "metadataQuery.h"
#include "support/effects.h"
#include "transport.h"
#include "utilLog.h"

static const std::set<int> statuses = {200, 400, 404, 500, 501, 503};

// Status and body of what a generator prints, with its result fitting its status.
template <typename Generate>
static std::pair<int, std::string> answerOf(Generate generate)
{
    int result = 1;
    const std::string text = printedBy([&] { result = generate(); });
    const size_t start = text.find("HTTP/1.1 ");
    REQUIRE(start == 0 || (start != text.npos && g_logLevel >= UTIL_LOG_LEVEL_TRACE)); // which dumps messages in front
    const int status = atoi(text.c_str() + start + strlen("HTTP/1.1 "));
    const std::string head = formatted("HTTP/1.1 %d \r\nContent-Type: application/json\r\n\r\n", status);
    REQUIRE(text.compare(start, head.size(), head) == 0 && result == (status == HTTP_OK ? 0 : -1));
    REQUIRE(statuses.contains(status));
    return {status, text.substr(start + head.size())};
}

// Names go into a document as they are: what JSON does not allow in them is looked past.
static bool isDocument(std::string body)
{
    const bool isEnded = body.ends_with("}\r\n");
    std::replace_if(
        body.begin(), body.end(), [](char one) { return one < ' ' || one > '~'; }, '_');
    return isEnded && nlohmann::json::accept(body.substr(0, body.size() - strlen("\r\n")));
}

void mediaList(Input &input)
{
    const std::string query = input.text();
    Answers answers(input);
    const auto generate = [&] { return generateMediaList(nullptr, query.c_str()); };
    mediaQuerySettings settings = {};
    const int parsed = parseMediaListQuery(query.data(), static_cast<int>(query.size()), &settings);
    const bool isLookup = settings.filter == eDBFILTER_T_GUMI;
    if (parsed == HTTP_OK && isLookup && !query.starts_with("f=gumi")) {
        REQUIRE(printedBy([&] { REQUIRE(generate() == -1); }).empty());
        return;
    }
    const auto [status, body] = answerOf(generate);
    const std::string words = settings.unsupported;
    const std::string told = words.empty() || isLookup ? "" : ",\"unsupported_fields\":\"" + words + '"';
    if (status == HTTP_OK && parsed == HTTP_OK) {
        REQUIRE((query + words).find_first_of("\"\\") != std::string::npos || isDocument(body));
    } else {
        REQUIRE(parsed == HTTP_OK ? body == "{\"id\":\"42\"" + told + ",\"media\":[]}\r\n"
                                  : status == parsed && body.empty());
    }
}

void pagedList(Input &input)
{
    const int pages = static_cast<int8_t>(input.number(1));
    const int items = static_cast<int8_t>(input.number(1));
    int more[3]; // start index, list options, query options
    std::generate(std::begin(more), std::end(more), [&] { return static_cast<int>(input.number(4)); });
    Answers answers(input);
    const auto generate = [&] { return dbGetPagedList(nullptr, pages, items, more[0], more[1], more[2]); };
    const auto [status, body] = answerOf(generate);
    const std::string empty = "{\"id\":\"42\",\"media\":[]}";
    REQUIRE(status == HTTP_OK ? isDocument(body) : body == empty + "\r\n" || body == empty + "]}\r\n");
}

void metadata(Input &input)
{
    const std::string query = input.text();
    Answers answers(input);
    const auto [status, body] = answerOf([&] { return generateMetadata(nullptr, query.c_str()); });
    REQUIRE(status == HTTP_OK ? isDocument(body) : body.empty());
}

void queries(Input &input)
{
    const Bytes block = input.block();
    const auto *pQuery = reinterpret_cast<const char *>(block.data());
    for (const auto parse : {parseMediaListQuery, parseMetadataQuery}) {
        mediaQuerySettings settings = {};
        const int status = parse(pQuery, static_cast<int>(block.size()), &settings);
        REQUIRE(statuses.contains(status) && status != HTTP_SERVICE_UNAVAILABLE);
        REQUIRE(status != HTTP_NOT_FOUND || parse == parseMetadataQuery);
        REQUIRE(settings.filter <= eDBFILTER_T_SET_UPLOAD && (settings.rtosDBQueryOptions & 0xFF) == 0);
        REQUIRE(memchr(settings.dirName, 0, sizeof settings.dirName) != nullptr);
        REQUIRE(memchr(settings.fileName, 0, sizeof settings.fileName) != nullptr);
        REQUIRE(memchr(settings.unsupported, 0, sizeof settings.unsupported) != nullptr);
        REQUIRE(status != HTTP_OK || parse == parseMediaListQuery || strlen(settings.fileName) == DB_FILE_NAME_BYTES);
    }
}

void console(Input &input)
{
    std::string script = "\n"; // a line that prints the usage text
    int digits = 0;            // of a number that a line begins with: loops of more than three take too long
    for (const char one : input.text()) {
        const auto character = static_cast<unsigned char>(one);
        digits = one == '\n' ? 0 : isalpha(character) != 0 ? INT16_MIN : digits + (isdigit(character) != 0);
        script.append(digits <= 3 ? 1 : 0, one);
    }
    Answers answers(input);
    FILE *pSaved = std::exchange(stdin, fmemopen(script.data(), script.size(), "r"));
    char *words[] = {nullptr};
    REQUIRE(printedBy([&] { consoleRun(1, words); }).find("Usage: ") != std::string::npos);
    fclose(std::exchange(stdin, pSaved));
}
