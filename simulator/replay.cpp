#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>

#include "parseNumber.h"
#include "replay.h"

namespace sim
{

namespace
{

constexpr size_t tokenInRequest = offsetof(db_request_header, token);
constexpr size_t tokenInAnswer = offsetof(db_response_header, token);
constexpr size_t tokenBytes = sizeof(uint32_t);

// Bytes of a request that a line on standard error shows; enough for any request about one file.
constexpr size_t shownBytes = sizeof(db_upload_status_request);

Replay::Octets withoutToken(Replay::Octets request)
{
    const size_t begin = std::min(tokenInRequest, request.size());
    const size_t end = std::min(tokenInRequest + tokenBytes, request.size());
    std::fill_n(request.data() + begin, end - begin, uint8_t{0});
    return request;
}

void reportUnknown(Bytes request)
{
    std::string line =
        "rtosMediaDBSim: not in the recording: a request of " + std::to_string(request.size()) + " bytes:";
    for (const uint8_t byte : request.first(std::min(request.size(), shownBytes))) {
        char text[4];
        snprintf(text, sizeof text, " %02x", byte);
        line += text;
    }
    std::cerr << line << (request.size() > shownBytes ? " ...\n" : "\n");
}

// Reads a recording line by line.
class RecordingReader
{
  public:
    explicit RecordingReader(const std::string &name) : name_(name) {}

    void readLine(std::string_view line)
    {
        ++line_;
        if (line.ends_with('\r')) {
            line.remove_suffix(1);
        }
        // Where bytes are due any bracket begins them; elsewhere an offset, which begins with a zero.
        const bool due = reading_ != Reading::other && (total_ == 0 || message_.size() < total_);
        if (line.starts_with(due ? "[" : "[0")) {
            readBytes(line);
            return;
        }
        endMessage();
        if (line == "Snd :") {
            reading_ = Reading::request;
        } else if (line == "Rcv :") {
            require(request_.has_value(), "an answer without a request");
            reading_ = Reading::answer;
        }
    }

    Replay finish()
    {
        endMessage();
        require(!replay_.isEmpty(), "the recording ends without an exchange");
        return std::move(replay_);
    }

  private:
    enum class Reading { other, request, answer };
    static constexpr size_t bytesInLine = 32;

    void require(bool good, const char *pReason) const
    {
        if (!good) {
            throw ReplayError(name_ + ':' + std::to_string(line_) + ": " + pReason);
        }
    }

    // "[offset/total]: xx xx ...", both numbers with five digits, the bytes apart by any number of blanks.
    void readBytes(std::string_view line)
    {
        require(reading_ != Reading::other, "bytes without \"Snd :\" or \"Rcv :\" in front");
        const bool framed = line.size() >= 14 && line[6] == '/' && line.substr(12, 2) == "]:";
        constexpr uint32_t none = UINT32_MAX;
        const uint32_t offset = framed ? parseNumber(line.substr(1, 5)).value_or(none) : none;
        const uint32_t total = framed ? parseNumber(line.substr(7, 5)).value_or(none) : none;
        require(offset != none && total != none, "not \"[offset/length]:\"");
        require(total <= DB_MESSAGE_MAX_BYTES, "a message of more than 1500 bytes");
        require(offset == message_.size() && (offset == 0 || total == total_) && offset < total,
                "bytes that do not go on with the message");
        total_ = total;
        line.remove_prefix(14);
        for (size_t at; (at = line.find_first_not_of(' ')) != line.npos; line.remove_prefix(at)) {
            line.remove_prefix(at);
            at = std::min(line.find(' '), line.size());
            const auto byte = at == 2 ? parseNumber(line.substr(0, at), UINT8_MAX, 16) : std::nullopt;
            require(byte.has_value(), "not a byte of two hexadecimal digits");
            message_.push_back(static_cast<uint8_t>(*byte));
            require(message_.size() <= std::min(offset + bytesInLine, total_), "too many bytes");
        }
        require(message_.size() == std::min(offset + bytesInLine, total_), "too few bytes");
    }

    void endMessage()
    {
        require(message_.size() == total_, "the message above is not whole");
        if (reading_ == Reading::request) {
            request_ = std::move(message_);
        } else if (reading_ == Reading::answer) {
            replay_.add(std::move(*request_), std::move(message_));
            request_.reset();
        }
        reading_ = Reading::other;
        message_.clear();
        total_ = 0;
    }

    const std::string &name_;
    size_t line_ = 0;
    Reading reading_ = Reading::other;      // what the message at hand is
    Replay::Octets message_;                // the bytes of it so far
    size_t total_ = 0;                      // the bytes it is to have
    std::optional<Replay::Octets> request_; // one that waits for its answer
    Replay replay_;
};

} // namespace

void Replay::add(Octets request, Octets answer)
{
    recorded_[withoutToken(std::move(request))].inOrder.push_back(std::move(answer));
}

std::optional<Message> Replay::answer(Bytes request)
{
    const auto found = recorded_.find(withoutToken({request.begin(), request.end()}));
    if (found == recorded_.end()) {
        reportUnknown(request);
        return plainAnswer(request, DB_STATUS_FAILURE);
    }
    Answers &answers = found->second;
    const Octets &recorded = answers.inOrder[answers.next];
    answers.next = (answers.next + 1) % answers.inOrder.size();
    if (recorded.empty()) {
        return std::nullopt;
    }
    Message message;
    message.append(recorded);
    if (message.size() >= tokenInAnswer + tokenBytes && request.size() >= tokenInRequest + tokenBytes) {
        memcpy(message.writableBytes().data() + tokenInAnswer, request.data() + tokenInRequest, tokenBytes);
    }
    return message;
}

Replay parseReplay(std::string_view text, const std::string &name)
{
    RecordingReader reader(name);
    while (!text.empty()) {
        const size_t end = std::min(text.find('\n'), text.size());
        reader.readLine(text.substr(0, end));
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return reader.finish();
}

Replay readReplay(const std::string &path)
{
    std::ifstream in;
    if (!std::filesystem::is_directory(path)) {
        in.open(path, std::ios::binary);
    }
    if (!in.is_open()) {
        throw ReplayError(path + ": can't be read");
    }
    const std::string text(std::istreambuf_iterator<char>(in), {});
    return parseReplay(text, path);
}

} // namespace sim
