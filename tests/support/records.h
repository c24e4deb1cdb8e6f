/**
 * @file records.h
 * Builders of wire records, so that a test's answers can be read.
 */
#ifndef RECORDS_H
#define RECORDS_H

#include <cstring>
#include <numeric>
#include <string>

#include "scriptedTransport.h"

inline db_file_spec fileSpec(const std::string &dir = "100MOXEL", const std::string &file = "MOXE0001.MP4")
{
    db_file_spec spec = {};
    memcpy(spec.dir_name, dir.data(), std::min<size_t>(dir.size(), DB_DIR_NAME_BYTES));
    memcpy(spec.file_name, file.data(), std::min<size_t>(file.size(), DB_FILE_NAME_BYTES));
    return spec;
}

/** Request about one file; with the token 0, which the transport does not compare. */
inline Bytes fileRequest(uint32_t command, const db_file_spec &spec = fileSpec())
{
    return message(db_request_header{command, 1, 0}, spec);
}

/** Request for one page of a list, with each number cut to the 32 bits of its field. */
inline Bytes listRequest(int64_t count, int64_t start, int64_t listOptions, int64_t queryOptions)
{
    const auto cut32 = [](int64_t number) { return static_cast<uint32_t>(number); };
    return message(
        db_list_request{{DB_COMMAND_LIST, cut32(count), 0}, cut32(start), cut32(listOptions), cut32(queryOptions)});
}

inline db_response_header responseHeader(uint32_t command, uint32_t status = DB_STATUS_OK, uint32_t count = 1)
{
    return {command, status, count, DB_VERSION, 0};
}

inline db_list_response_header listHeader(uint32_t count, uint32_t total, uint32_t listOptions = 0)
{
    return {responseHeader(DB_COMMAND_LIST, DB_STATUS_OK, count), 0, listOptions, 0, total, 7};
}

/** An item of plain values: created at 1000, modified at 2000, 3000 bytes. */
inline db_content_info contentInfo(db_content_type type, const db_file_spec &spec = fileSpec(),
                                   uint32_t highlightCount = 0, uint32_t mediaProperties = 0)
{
    db_content_info info;
    const uint32_t counts[] = {1000, 2000, highlightCount, mediaProperties, 0};
    memcpy(&info, message(type, spec, counts, uint64_t{3000}, uint64_t{0}).data(), sizeof info);
    return info;
}

/** A group record; the size of the group is 4000. */
inline db_group_content_info groupInfo(uint32_t number, uint32_t first, uint32_t last, uint32_t missing = 0)
{
    return {number, first, last, missing, 4000};
}

/** A GUMI of 16 equal bytes. */
inline Bytes gumiOf(uint8_t byte)
{
    return Bytes(DB_GUMI_BYTES, byte);
}

/** Bytes that tell their places: 1, 2 and so on. */
inline Bytes counted(size_t length)
{
    Bytes bytes(length);
    std::iota(bytes.begin(), bytes.end(), uint8_t{1});
    return bytes;
}

#endif
