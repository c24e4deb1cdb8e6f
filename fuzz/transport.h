/**
 * @file transport.h
 * What the fuzz targets are made of: the fuzzer's input, taken apart from its front, and a transport that answers from
 * it. Each target is a function of an `Input`.
 */
#ifndef FUZZ_TRANSPORT_H
#define FUZZ_TRANSPORT_H

#include <cstdio>
#include <cstdlib>
#include <span>
#include <string>
#include <vector>

#include "mxMediaRTOSDB.h"

/** Ends the process, which the fuzzer reports, when a claim does not hold. */
#define REQUIRE(claim)                                                                                                 \
    ((claim) ? void(0) : (fprintf(stderr, "%s:%d: does not hold: %s\n", __FILE__, __LINE__, #claim), abort()))

using Bytes = std::vector<uint8_t>;

/** Flags of a frame. An answer has status 0 and the request's token, unless they are to stay as they are. */
enum { SEND_FAILS = 0x0800, RECEIVE_FAILS = 0x1000, HEADER_STAYS = 0x2000, LAST_BYTE_LACKS = 0x4000 };

/** Results of what fails in the transport. */
enum { FAILED_INIT = -7, FAILED_SEND = -5, FAILED_RECEIVE = -6 };

/** A message in the input: 16 bits of flags, the low 11 of them its length, then as many bytes. */
struct Frame {
    uint32_t flags = 0;
    Bytes bytes; ///< in a block of exactly their size
};

/** The fuzzer's input. What is taken beyond its end is zero, or empty. */
struct Input {
    std::span<const uint8_t> rest;

    uint32_t number(size_t width);
    Frame frame();
    std::string text(); ///< a frame as text, up to its first zero
    Bytes block() const ///< all of the rest, in a block of exactly its size
    {
        return {rest.begin(), rest.end()};
    }
};

/**
 * The database at the far end while this lives, on a card with the identity 42. It answers with the frames of the
 * input, whatever is asked, then with empty messages; no byte of them is a quote or a backslash, so that documents can
 * be parsed. In front of the frames stand two bytes: which opening fails, counted from 1, and the log level. Bytes
 * behind a received message are 0xEE, and poisoned until the handle is used again or closed. Requires well formed
 * requests, one open handle at most, and none in the end.
 */
struct Answers {
    Input &input;
    int initsLeft;               ///< openings until the one that fails
    bool gumisAreCleared = true; ///< the code under test may write where GUMIs stand, behind a short message
    int exchanges = 0;           ///< requests so far
    bool isOpen = false;
    bool awaitingReceive = false;
    db_request_header request = {}; ///< the last one
    Frame answer = {};
    uint8_t *pGuarded = nullptr;

    explicit Answers(Input &source);
    ~Answers();
};

/** Whether bytes of a message were received; only while its handle is neither used again nor closed. */
bool wasReceived(const void *pBytes, size_t size);

#endif
