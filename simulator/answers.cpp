#include <algorithm>
#include <iterator>

#include "database.h"
#include "records.h"

namespace sim
{

namespace
{

// One request on its way to an answer. The request's length is right for its command.
struct Exchange {
    Database &database;
    Bytes request;
};

template <class Record>
Record read(Bytes bytes)
{
    Record record;
    memcpy(&record, bytes.data(), sizeof record);
    return record;
}

template <size_t width>
std::string textOf(const char (&field)[width])
{
    return {field, std::find(field, field + width, '\0')};
}

Message succeed(const Exchange &exchange, uint32_t count = 1)
{
    Message message = plainAnswer(exchange.request, DB_STATUS_OK);
    auto header = read<db_response_header>(message.bytes());
    header.count_returned = count;
    message.replaceHead(header);
    return message;
}

// A file that a request names, with its item.
struct Found {
    size_t index; // of the item
    const Item &item;
    const MediaFile &file;  // the file itself
    const MediaFile &shown; // the file as the item's name: the whole item, when it is the first file
};

std::optional<Found> find(Database &database, const db_file_spec &spec)
{
    const Catalogue &catalogue = database.catalogue();
    const Catalogue::Place *pPlace = catalogue.find(textOf(spec.dir_name) + '/' + textOf(spec.file_name));
    if (pPlace == nullptr) {
        return std::nullopt;
    }
    const Item &item = catalogue.items()[pPlace->item];
    const MediaFile &file = item.files[pPlace->file];
    return Found{pPlace->item, item, file, pPlace->file == 0 ? item.whole : file};
}

// Answers a request about one file by what a function appends to the answer.
template <class Append>
Message answerFile(const Exchange &exchange, Append append)
{
    const auto found = find(exchange.database, read<db_file_request>(exchange.request).file);
    if (!found) {
        return plainAnswer(exchange.request, DB_STATUS_NOT_FOUND_SILENT);
    }
    Message message = succeed(exchange);
    append(message, *found);
    return message;
}

Message answerList(const Exchange &exchange)
{
    const auto request = read<db_list_request>(exchange.request);
    Catalogue &catalogue = exchange.database.catalogue();
    const std::vector<size_t> &selection = catalogue.selection(request.query_options);
    db_list_response_header header{};
    header.header = read<db_response_header>(succeed(exchange, 0).bytes());
    header.start_index = request.starting_index;
    header.list_options = request.list_options;
    header.query_options = request.query_options;
    header.total_entries = static_cast<uint32_t>(selection.size());
    header.session_id = catalogue.sessionId();

    Message message;
    message.appendRecord(header);
    uint32_t count = 0;
    for (size_t at = request.starting_index; at < selection.size() && count < request.header.request_count; ++at) {
        if (!appendEntry(message, catalogue.items()[selection[at]], request.list_options)) {
            break;
        }
        ++count;
    }
    header.header.count_returned = count;
    message.replaceHead(header);
    return message;
}

Message answerContentInfo(const Exchange &exchange)
{
    return answerFile(exchange, [](Message &message, const Found &found) {
        message.appendRecord(contentInfo(found.item, found.shown));
    });
}

Message answerGroupContentInfo(const Exchange &exchange)
{
    return answerFile(exchange, [](Message &message, const Found &found) { appendGroup(message, found.item); });
}

// With one file a miss is a status; with more of them it is an entry without a file, so that the others get theirs.
Message answerVideoSpecificInfo(const Exchange &exchange)
{
    const uint32_t count = read<db_request_header>(exchange.request).request_count;
    Item noItem;
    noItem.type = DB_CONTENT_TYPE_NO_FILE;
    Message message = succeed(exchange, 0);
    uint32_t done = 0;
    for (; done < count; ++done) {
        const auto spec =
            read<db_file_spec>(exchange.request.subspan(sizeof(db_request_header) + done * sizeof(db_file_spec)));
        const auto found = find(exchange.database, spec);
        if (!found && count == 1) {
            return plainAnswer(exchange.request, DB_STATUS_NOT_FOUND_SILENT);
        }
        noItem.whole.dir = textOf(spec.dir_name);
        noItem.whole.name = textOf(spec.file_name);
        if (!(found ? appendVideo(message, found->item, found->file) : appendVideo(message, noItem, noItem.whole))) {
            break;
        }
    }
    message.replaceHead(read<db_response_header>(succeed(exchange, done).bytes()));
    return message;
}

Message answerFileNameByGumi(const Exchange &exchange)
{
    const auto request = read<db_gumi_request>(exchange.request);
    Gumi gumi;
    std::copy(std::begin(request.gumi), std::end(request.gumi), gumi.begin());
    const Item *pItem = exchange.database.catalogue().find(gumi);
    if (pItem == nullptr) {
        return plainAnswer(exchange.request, DB_STATUS_NOT_FOUND_SILENT);
    }
    db_file_spec spec{};
    std::copy(pItem->whole.dir.begin(), pItem->whole.dir.end(), spec.dir_name);
    std::copy(pItem->whole.name.begin(), pItem->whole.name.end(), spec.file_name);
    Message message = succeed(exchange);
    message.appendRecord(spec);
    return message;
}

Message answerGumiByFileName(const Exchange &exchange)
{
    return answerFile(exchange, [](Message &message, const Found &found) {
        message.appendRecord(contentInfo(found.item, found.shown));
        message.append(found.item.gumi);
        message.append(parentGumi(found.shown));
    });
}

Message answerMoreInfo(const Exchange &exchange)
{
    return answerFile(exchange,
                      [](Message &message, const Found &found) { message.appendRecord(moreInfo(found.file)); });
}

Message answerSetUploadStatus(const Exchange &exchange)
{
    const auto request = read<db_upload_status_request>(exchange.request);
    if (request.upload_status >= UPLOAD_STATUS_HISTOGRAM_SIZE - 1) {
        return plainAnswer(exchange.request, DB_STATUS_FAILURE);
    }
    const auto found = find(exchange.database, request.file);
    if (!found) {
        return plainAnswer(exchange.request, DB_STATUS_NOT_FOUND_SILENT);
    }
    if (!exchange.database.uploads().set(found->item.path(), request.upload_status)) {
        return plainAnswer(exchange.request, DB_STATUS_FAILURE);
    }
    exchange.database.catalogue().setUploadStatus(found->index, request.upload_status);
    return succeed(exchange, 0);
}

Message answerUploadHistogram(const Exchange &exchange)
{
    db_upload_histogram histogram{};
    for (const Item &item : exchange.database.catalogue().items()) {
        ++histogram.count[item.whole.uploadStatus];
    }
    Message message = succeed(exchange);
    message.appendRecord(histogram);
    return message;
}

struct Command {
    uint32_t code;
    size_t requestBytes; // length of a request for one file
    Message (*answer)(const Exchange &);
};
constexpr Command commands[] = {
    {DB_COMMAND_LIST, sizeof(db_list_request), answerList},
    {DB_COMMAND_CONTENT_INFO, sizeof(db_file_request), answerContentInfo},
    {DB_COMMAND_GROUP_CONTENT_INFO, sizeof(db_file_request), answerGroupContentInfo},
    {DB_COMMAND_VIDEO_SPECIFIC_INFO, sizeof(db_file_request), answerVideoSpecificInfo},
    {DB_COMMAND_FILE_NAME_BY_GUMI, sizeof(db_gumi_request), answerFileNameByGumi},
    {DB_COMMAND_GUMI_BY_FILE_NAME, sizeof(db_file_request), answerGumiByFileName},
    {DB_COMMAND_MORE_INFO, sizeof(db_file_request), answerMoreInfo},
    {DB_COMMAND_SET_UPLOAD_STATUS, sizeof(db_upload_status_request), answerSetUploadStatus},
    {DB_COMMAND_UPLOAD_HISTOGRAM, sizeof(db_request_header), answerUploadHistogram},
};

// Tells whether length and count of a request, which has a whole header, are those of its command.
bool isWellFormed(const Command &command, Bytes request)
{
    const uint32_t count = read<db_request_header>(request).request_count;
    if (command.code == DB_COMMAND_VIDEO_SPECIFIC_INFO) {
        const size_t names = request.size() - sizeof(db_request_header);
        return count >= 1 && names % sizeof(db_file_spec) == 0 && names / sizeof(db_file_spec) == count;
    }
    return request.size() == command.requestBytes && (count == 1 || command.code == DB_COMMAND_LIST);
}

} // namespace

Message Database::answer(Bytes request)
{
    if (request.size() >= sizeof(db_request_header)) {
        const uint32_t code = read<db_request_header>(request).command_type;
        for (const Command &command : commands) {
            if (command.code == code && isWellFormed(command, request)) {
                return command.answer({*this, request});
            }
        }
    }
    return plainAnswer(request, DB_STATUS_FAILURE);
}

} // namespace sim
