// Targets that look at what is printed: an answer is whole and as its status says.
#include <algorithm>
#include <cctype>
#include <cstring>
#include <nlohmann/json.hpp>

#include "consoleRun.h"
#include "httpStatus.h"
#include "mediaListQuery.h"
#include "metadataQuery.h"
#include "support/effects.h"
#include "transport.h"
#include "utilLog.h"

struct Answer {
    int status;
    std::string body;
};

static bool isIn(int status, std::initializer_list<int> set)
{
    return std::find(set.begin(), set.end(), status) != set.end();
}

// What a generator prints, with its result fitting its status.
template <typename Generate>
static Answer answerOf(Generate generate)
{
    int result = 1;
    const std::string text = printedBy([&] { result = generate(); });
    const size_t start = std::min(text.find("HTTP/1.1 "), text.size());
    REQUIRE(start == 0 || g_logLevel >= UTIL_LOG_LEVEL_TRACE); // which dumps messages in front
    Answer answer = {atoi(text.c_str() + std::min(start + strlen("HTTP/1.1 "), text.size())), ""};
    const std::string head = formatted("HTTP/1.1 %d \r\nContent-Type: application/json\r\n\r\n", answer.status);
    REQUIRE(text.compare(start, head.size(), head) == 0 && result == (answer.status == HTTP_OK ? 0 : -1));
    REQUIRE(isIn(answer.status, {HTTP_OK, HTTP_BAD_REQUEST, HTTP_NOT_FOUND, HTTP_INTERNAL_SERVER_ERROR,
                                 HTTP_NOT_IMPLEMENTED, HTTP_SERVICE_UNAVAILABLE}));
    answer.body = text.substr(start + head.size());
    return answer;
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
    const Answer answer = answerOf(generate);
    const std::string words = settings.unsupported;
    const std::string told = words.empty() || isLookup ? "" : ",\"unsupported_fields\":\"" + words + '"';
    if (parsed != HTTP_OK) {
        REQUIRE(answer.status == parsed && answer.body.empty());
    } else if (answer.status != HTTP_OK) {
        REQUIRE(answer.body == "{\"id\":\"42\"" + told + ",\"media\":[]}\r\n");
    } else {
        REQUIRE((query + words).find_first_of("\"\\") != std::string::npos || isDocument(answer.body));
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
    const Bytes block(input.rest.begin(), input.rest.end());
    const auto *pQuery = reinterpret_cast<const char *>(block.data());
    for (const auto parse : {parseMediaListQuery, parseMetadataQuery}) {
        mediaQuerySettings settings = {};
        const int status = parse(pQuery, static_cast<int>(block.size()), &settings);
        REQUIRE(isIn(status, {HTTP_OK, HTTP_BAD_REQUEST, HTTP_INTERNAL_SERVER_ERROR, HTTP_NOT_IMPLEMENTED,
                              parse == parseMetadataQuery ? HTTP_NOT_FOUND : HTTP_OK}));
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
    FILE *pSaved = stdin;
    stdin = fmemopen(script.data(), script.size(), "r");
    char name[] = "mxMediaRTOSDBTestApp";
    char *words[] = {name, nullptr};
    REQUIRE(printedBy([&] { consoleRun(1, words); }).find("Usage: ") != std::string::npos);
    fclose(stdin);
    stdin = pSaved;
}
