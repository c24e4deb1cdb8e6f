#include "message.h"

namespace sim
{

Message plainAnswer(Bytes request, uint32_t status)
{
    db_request_header asked{};
    // Of a request that ends within the header the fields that came whole count.
    const size_t whole = std::min(request.size(), sizeof asked) / sizeof(uint32_t) * sizeof(uint32_t);
    if (whole != 0) {
        memcpy(&asked, request.data(), whole);
    }
    db_response_header header{};
    header.command_type = asked.command_type;
    header.token = asked.token;
    header.status = status;
    header.rtos_db_version = DB_VERSION;
    Message message;
    message.appendRecord(header);
    return message;
}

} // namespace sim
