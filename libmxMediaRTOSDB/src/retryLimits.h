/**
 * @file retryLimits.h
 * How often a failed exchange is made again, and after what wait.
 */
#ifndef RETRY_LIMITS_H
#define RETRY_LIMITS_H

enum {
    EXCHANGE_ATTEMPTS_MAX = 11,      ///< times that one request is sent, the first included
    LIST_RESTARTS_MAX = 11,          ///< times that a list begins anew, the first beginning left out
    RETRY_WAIT_MICROSECONDS = 100000 ///< behind a failure; for upload statuses also behind a refusal, not made again
};

#endif
