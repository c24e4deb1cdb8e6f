/**
 * @file httpStatus.h
 * The HTTP statuses that the web output answers with. They travel in an `int`; the first other than HTTP_OK decides an
 * answer.
 */
#ifndef HTTP_STATUS_H
#define HTTP_STATUS_H

enum {
    HTTP_OK = 200,
    HTTP_BAD_REQUEST = 400,
    HTTP_NOT_FOUND = 404,
    HTTP_INTERNAL_SERVER_ERROR = 500,
    HTTP_NOT_IMPLEMENTED = 501,
    HTTP_SERVICE_UNAVAILABLE = 503
};

#endif
