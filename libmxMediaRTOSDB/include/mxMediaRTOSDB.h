/**
 * @file mxMediaRTOSDB.h
 * Client library of the camera's media database: the records that cross the IPC channel, the limits and codes that
 * go with them, and the public calls. Usable from C11 and C++.
 *
 * All integers on the wire are little-endian, all records are packed, and a message is the plain byte image of its
 * records. A record may stand at any address. Text fields are padded with zeros and have no terminating zero when
 * they are full.
 */
#ifndef MX_MEDIA_RTOS_DB_H
#define MX_MEDIA_RTOS_DB_H

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
#define DB_STATIC_ASSERT(condition) static_assert(condition, #condition)
extern "C" {
#else
#define DB_STATIC_ASSERT(condition) _Static_assert(condition, #condition)
#endif

/** A record of the wire: no padding between fields, readable in place in a buffer of bytes. */
#define DB_WIRE_RECORD __attribute__((packed, may_alias))
/** Asserts that a field of a wire record stands at its offset. */
#define DB_ASSERT_OFFSET(record, field, offset) DB_STATIC_ASSERT(offsetof(struct record, field) == (offset))
/** Asserts the size of a wire record. */
#define DB_ASSERT_SIZE(record, bytes) DB_STATIC_ASSERT(sizeof(struct record) == (bytes))

DB_STATIC_ASSERT(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__);

/* ------------------------------------------------------------------------------------------------- limits */

/** Name of the IPC channel at whose far end the database answers. */
#define DB_CHANNEL_NAME "rtos_media_db"

/** Token that console and checker pass to the calls that take one, but for setting a status. No meaning; echoed. */
#define DB_CALLERS_TOKEN 0x600df00du

enum {
    DB_MESSAGE_MAX_BYTES = 1500,       /**< no message is longer; every receive buffer has this size */
    DB_DIR_NAME_BYTES = 8,             /**< width of `dir_name` */
    DB_FILE_NAME_BYTES = 12,           /**< width of `file_name` */
    DB_GUMI_BYTES = 16,                /**< width of a GUMI and of a PGUMI */
    DB_VERSION = 4,                    /**< version of the database that this client is made for */
    UPLOAD_STATUS_HISTOGRAM_SIZE = 32, /**< counters of the histogram; a valid status is below this less 1 */
    DB_RESPONSE_BODY_OFFSET = 20,      /**< first byte behind `db_response_header` */
    DB_RESPONSE_GUMI_OFFSET = 80,      /**< GUMI in the answer to `DB_COMMAND_GUMI_BY_FILE_NAME`; the PGUMI follows */
    DB_RESPONSE_SECOND_OFFSET = 80,    /**< the record behind `db_content_info` in a single-record answer */
    DB_RESPONSE_TAIL_OFFSET = 104,     /**< highlights or masks behind that record */
    DB_LIST_ENTRIES_OFFSET = 40,       /**< first entry behind `db_list_response_header` */
    DB_MASK_MAX_BYTES = DB_MESSAGE_MAX_BYTES - DB_RESPONSE_TAIL_OFFSET, /**< largest mask that a message can bring */
    DB_FILE_REQUEST_MAX_FILES = (DB_MESSAGE_MAX_BYTES - 12) / 20        /**< names that fit one `db_file_request` */
};

/* -------------------------------------------------------------------------------------------------- codes */

/** Command codes, `command_type` of a request. */
enum {
    DB_COMMAND_LIST = 0,
    DB_COMMAND_CONTENT_INFO = 2,
    DB_COMMAND_GROUP_CONTENT_INFO = 3,
    DB_COMMAND_VIDEO_SPECIFIC_INFO = 4,
    DB_COMMAND_FILE_NAME_BY_GUMI = 6,
    DB_COMMAND_GUMI_BY_FILE_NAME = 7,
    DB_COMMAND_MORE_INFO = 8,
    DB_COMMAND_SET_UPLOAD_STATUS = 9,
    DB_COMMAND_UPLOAD_HISTOGRAM = 10
};

/** Status values of a response; every other value is a failure without a name. */
enum {
    DB_STATUS_OK = 0,
    DB_STATUS_BUSY = 1,             /**< the database can't answer now */
    DB_STATUS_NOT_READY = 2,        /**< the database can't answer now */
    DB_STATUS_NOT_FOUND = 3,        /**< no such item; an error worth a log line */
    DB_STATUS_NOT_FOUND_SILENT = 4, /**< no such item; an answer like any other */
    DB_STATUS_FAILURE = 5           /**< the first of the values that mean a failure */
};

/** `content_type` of an item. Comes from the wire, so that any 32-bit value can stand in it. */
typedef int32_t db_content_type;

enum {
    DB_CONTENT_TYPE_NO_FILE = -1, /**< there is no such file */
    DB_CONTENT_TYPE_SINGLE_VIDEO = 0,
    DB_CONTENT_TYPE_LOOPED_VIDEO = 1,
    DB_CONTENT_TYPE_CHAPTERED_VIDEO = 2,
    DB_CONTENT_TYPE_TIME_LAPSE_VIDEO = 3,
    DB_CONTENT_TYPE_SINGLE_PHOTO = 4,
    DB_CONTENT_TYPE_BURST_PHOTO = 5,
    DB_CONTENT_TYPE_TIME_LAPSE_PHOTO = 6,
    DB_CONTENT_TYPE_METADATA_SESSION = 7,
    DB_CONTENT_TYPE_NIGHT_LAPSE_PHOTO = 8,
    DB_CONTENT_TYPE_NIGHT_PHOTO = 9,
    DB_CONTENT_TYPE_CONTINUOUS_PHOTO = 10,
    DB_CONTENT_TYPE_RAW_PHOTO = 11 /**< the last valid type */
};

/** Bits of `list_options`. */
enum {
    DB_LIST_OPTION_SORT_ORDER = 0x1,       /**< the database's own */
    DB_LIST_OPTION_VIDEO_GROUPING = 0x2,   /**< types 1 and 2 carry a group record instead of a video record */
    DB_LIST_OPTION_INCLUDE_GUMI = 0x4,     /**< entries carry their GUMI, and a PGUMI for an item with a parent */
    DB_LIST_OPTION_INCLUDE_MORE_INFO = 0x8 /**< entries carry a `db_more_info` */
};

/** Bits of `query_options`. */
#define RTOS_DB_QUERY_HIGHLIGHTS 0x1u               /**< items with highlights */
#define RTOS_DB_QUERY_CLIPS 0x2u                    /**< clips */
#define RTOS_DB_QUERY_GROUPS 0x4u                   /**< groups */
#define RTOS_DB_QUERY_VIDEOS 0x100u                 /**< video content, types 0 to 3 */
#define RTOS_DB_QUERY_PHOTOS 0x200u                 /**< photo content, types 4, 5, 6, 8, 9, 10 */
#define RTOS_DB_QUERY_METADATA_SESSION_FILES 0x400u /**< metadata sessions, type 7 */
#define RTOS_DB_QUERY_RAW 0x800u                    /**< raw photos */
#define RTOS_DB_QUERY_SESSION_LIST 0x2000u          /**< the list of session files */
/** Every bit from 8 up but that of the metadata sessions: the whole catalogue of media items. */
#define RTOS_DB_QUERY_ALL_MEDIA 0xFFFFFB00u

/** Bits of `mediaProperties`. */
enum {
    DB_MEDIA_CLIPPED = 0x1,              /**< a clip made from a parent item */
    DB_MEDIA_HAS_EIS = 0x2,              /**< stabilised */
    DB_MEDIA_ZENTRA_AUDIO = 0x1C,        /**< a value of 3 bits */
    DB_MEDIA_AUDIO_OPTION_STEREO = 0x20, /**< audio option "stereo" */
    DB_MEDIA_AUDIO_OPTION_WIND = 0x40,   /**< audio option "wind" */
    DB_MEDIA_AUDIO_OPTION_AUTO = 0x80,   /**< audio option "auto" */
    DB_MEDIA_HAS_WDR = 0x100,
    DB_MEDIA_HAS_RAW = 0x200,
    DB_MEDIA_IS_A_TRANSCODE = 0x400, /**< transcoded from a parent item */
    DB_MEDIA_METADATA_PRESENT = 0x800
};

/* ------------------------------------------------------------------------------------------------ requests */

/** Names one file: directory and file, each without a terminating zero when its field is full. */
struct db_file_spec {
    char dir_name[DB_DIR_NAME_BYTES];   /**< directory under the card's media root, "100MOXEL" */
    char file_name[DB_FILE_NAME_BYTES]; /**< the item's first file, "MOXE0001.MP4" */
} DB_WIRE_RECORD;
DB_ASSERT_OFFSET(db_file_spec, file_name, 8);
DB_ASSERT_SIZE(db_file_spec, 20);

/** The first bytes of every request. */
struct db_request_header {
    uint32_t command_type;  /**< `DB_COMMAND_...` */
    uint32_t request_count; /**< items or files asked for; 1 for a single record, the page size for a list */
    uint32_t token;         /**< opaque, echoed by the response */
} DB_WIRE_RECORD;
DB_ASSERT_SIZE(db_request_header, 12);

/** Asks about one file. With more files the further `db_file_spec` follow at once. */
struct db_file_request {
    struct db_request_header header; /**< `request_count` is the number of files */
    struct db_file_spec file;        /**< the (first) file */
} DB_WIRE_RECORD;
DB_ASSERT_OFFSET(db_file_request, file, 12);
DB_ASSERT_SIZE(db_file_request, 32);

/** Asks for the file of a GUMI. */
struct db_gumi_request {
    struct db_request_header header; /**< `request_count` is 1 */
    uint8_t gumi[DB_GUMI_BYTES];     /**< the GUMI looked up */
} DB_WIRE_RECORD;
DB_ASSERT_OFFSET(db_gumi_request, gumi, 12);
DB_ASSERT_SIZE(db_gumi_request, 28);

/** Writes the upload status of one file. */
struct db_upload_status_request {
    struct db_request_header header; /**< `request_count` is 1 */
    struct db_file_spec file;        /**< the file */
    uint32_t upload_status;          /**< the new status, 0 to 30; not checked by the client */
} DB_WIRE_RECORD;
DB_ASSERT_OFFSET(db_upload_status_request, file, 12);
DB_ASSERT_OFFSET(db_upload_status_request, upload_status, 32);
DB_ASSERT_SIZE(db_upload_status_request, 36);

/** Asks for one page of the catalogue. */
struct db_list_request {
    struct db_request_header header; /**< `request_count` is the number of entries wanted, 0 included */
    uint32_t starting_index;         /**< index of the first entry wanted, from 0 */
    uint32_t list_options;           /**< `DB_LIST_OPTION_...` */
    uint32_t query_options;          /**< `RTOS_DB_QUERY_...` */
} DB_WIRE_RECORD;
DB_ASSERT_OFFSET(db_list_request, starting_index, 12);
DB_ASSERT_OFFSET(db_list_request, query_options, 20);
DB_ASSERT_SIZE(db_list_request, 24);

/* ----------------------------------------------------------------------------------------------- responses */

/** The head of every response. */
struct db_response_header {
    uint32_t command_type;    /**< echo of the request; logged, never tested */
    uint32_t status;          /**< `DB_STATUS_...` */
    uint32_t count_returned;  /**< items in the body; readers lower it to `request_count` */
    uint32_t rtos_db_version; /**< version of the database; logged, never compared */
    uint32_t token;           /**< echo of the request's token; a mismatch is a warning */
} DB_WIRE_RECORD;
DB_ASSERT_OFFSET(db_response_header, count_returned, 8);
DB_ASSERT_OFFSET(db_response_header, token, 16);
DB_ASSERT_SIZE(db_response_header, DB_RESPONSE_BODY_OFFSET);

/** The head of a `DB_COMMAND_LIST` response; the entries follow at once. */
struct db_list_response_header {
    struct db_response_header header; /**< `count_returned` is the number of entries */
    uint32_t start_index;             /**< index of the first returned entry */
    uint32_t list_options;            /**< echo; says what the entries carry */
    uint32_t query_options;           /**< echo */
    uint32_t total_entries;           /**< entries in the whole selection */
    uint32_t session_id;              /**< identifies the state of the database that this listing belongs to */
} DB_WIRE_RECORD;
DB_ASSERT_OFFSET(db_list_response_header, start_index, 20);
DB_ASSERT_OFFSET(db_list_response_header, total_entries, 32);
DB_ASSERT_SIZE(db_list_response_header, DB_LIST_ENTRIES_OFFSET);

/** The basic record of one media item. */
struct db_content_info {
    db_content_type content_type;       /**< `DB_CONTENT_TYPE_...`; -1: there is no such file */
    char dir_name[DB_DIR_NAME_BYTES];   /**< directory */
    char file_name[DB_FILE_NAME_BYTES]; /**< the item's first file */
    uint32_t creation_time;             /**< seconds since the epoch, UTC */
    uint32_t modification_time;         /**< seconds; passed on unchanged */
    uint32_t highlight_count;           /**< highlights on the item */
    uint32_t mediaProperties;           /**< `DB_MEDIA_...` */
    uint32_t uploadStatus;              /**< upload state, 0 to 30 */
    uint64_t size;                      /**< bytes of the item */
    uint32_t extra_bits;                /**< the low 7 bits go to `cah_item_s`, the rest is not read */
    uint32_t reserved_56;               /**< not read */
} DB_WIRE_RECORD;
DB_ASSERT_OFFSET(db_content_info, dir_name, 4);
DB_ASSERT_OFFSET(db_content_info, file_name, 12);
DB_ASSERT_OFFSET(db_content_info, creation_time, 24);
DB_ASSERT_OFFSET(db_content_info, mediaProperties, 36);
DB_ASSERT_OFFSET(db_content_info, size, 44);
DB_ASSERT_OFFSET(db_content_info, reserved_56, 56);
DB_ASSERT_SIZE(db_content_info, 60);

/** Picture format of one item. */
struct db_more_info {
    int32_t width;                  /**< pixels */
    int32_t height;                 /**< pixels */
    int32_t frame_rate_numerator;   /**< frames per `frame_rate_denominator` seconds */
    int32_t frame_rate_denominator; /**< seconds */
    int32_t is_progressive;         /**< not 0: progressive */
    int32_t is_subsampled;          /**< not 0: subsampled */
    int32_t reserved_24;            /**< not read */
} DB_WIRE_RECORD;
DB_ASSERT_OFFSET(db_more_info, is_subsampled, 20);
DB_ASSERT_SIZE(db_more_info, 28);

/** Details of one video; `highlight_count` 32-bit values follow at once. */
struct db_video_specific_info {
    uint32_t lrv_size;        /**< bytes of the low-resolution video; 0: there is none */
    uint32_t duration;        /**< milliseconds */
    uint32_t avc_level;       /**< passed on unchanged */
    uint32_t avc_profile;     /**< passed on unchanged */
    uint32_t highlight_count; /**< number of values that follow */
    uint32_t is_clipped_file; /**< not 0: the file is a clip */
} DB_WIRE_RECORD;
DB_ASSERT_OFFSET(db_video_specific_info, highlight_count, 16);
DB_ASSERT_SIZE(db_video_specific_info, 24);

/**
 * A group of files; its masks follow. A mask has one bit for each number from `first_number` to `last_number`, the
 * first number in the top bit of the first byte, and fills whole 32-bit words. The missing mask stands there when
 * `num_missing` is not 0; a clear bit is a missing file. The highlight mask stands behind it when the item has
 * highlights; a clear bit is a member with a highlight. In a list only photo groups have a highlight mask.
 */
struct db_group_content_info {
    uint32_t group_number; /**< as in the names; 0: lists take that of chapters from the first file's name */
    uint32_t first_number; /**< first member */
    uint32_t last_number;  /**< last member, inclusive */
    uint32_t num_missing;  /**< members in between that do not exist */
    uint64_t group_size;   /**< bytes of the whole group */
} DB_WIRE_RECORD;
DB_ASSERT_OFFSET(db_group_content_info, num_missing, 12);
DB_ASSERT_OFFSET(db_group_content_info, group_size, 16);
DB_ASSERT_SIZE(db_group_content_info, 24);
DB_STATIC_ASSERT(DB_RESPONSE_BODY_OFFSET + sizeof(struct db_content_info) == DB_RESPONSE_SECOND_OFFSET);
DB_STATIC_ASSERT(DB_RESPONSE_SECOND_OFFSET + sizeof(struct db_video_specific_info) == DB_RESPONSE_TAIL_OFFSET);
DB_STATIC_ASSERT(DB_RESPONSE_SECOND_OFFSET + sizeof(struct db_group_content_info) == DB_RESPONSE_TAIL_OFFSET);

/** How many items stand at each upload status. */
struct db_upload_histogram {
    uint32_t count[UPLOAD_STATUS_HISTOGRAM_SIZE]; /**< items whose status is the index */
} DB_WIRE_RECORD;
DB_ASSERT_SIZE(db_upload_histogram, 128);

/* ----------------------------------------------------------------------------------------- items of a walk */

/** What a walk of the catalogue tells of one item. In memory only; its pointers are valid during the callback. */
struct cah_item_s {
    const char *gumi;         /**< 32 upper-case hexadecimal digits, or null */
    const char *parent_gumi;  /**< the same for the parent, or null */
    int32_t content_type;     /**< `DB_CONTENT_TYPE_...` */
    uint32_t group_number;    /**< 0 for an item without a group record */
    uint32_t group_first;     /**< first member */
    uint32_t group_last;      /**< last member, inclusive */
    uint32_t group_missing;   /**< members that do not exist */
    uint32_t upload_status;   /**< upload state, 0 to 30 */
    uint32_t highlight_count; /**< highlights on the item */
    uint32_t extra_bits;      /**< 7 bits of the database's own */
    uint32_t creation_time;   /**< seconds since the epoch, UTC */
    uint32_t duration_s;      /**< whole seconds; 0 for a photo */
    uint32_t is_clipped;      /**< 1: a clip */
    uint64_t size;            /**< bytes of the item, or of the whole group */
    const char *dir_name;     /**< at most 8 characters and a zero */
    const char *file_name;    /**< at most 12 characters and a zero */
};

#ifndef __cplusplus
typedef struct db_file_spec db_file_spec;
typedef struct db_request_header db_request_header;
typedef struct db_file_request db_file_request;
typedef struct db_gumi_request db_gumi_request;
typedef struct db_upload_status_request db_upload_status_request;
typedef struct db_list_request db_list_request;
typedef struct db_response_header db_response_header;
typedef struct db_list_response_header db_list_response_header;
typedef struct db_content_info db_content_info;
typedef struct db_more_info db_more_info;
typedef struct db_video_specific_info db_video_specific_info;
typedef struct db_group_content_info db_group_content_info;
typedef struct db_upload_histogram db_upload_histogram;
typedef struct cah_item_s cah_item_s;
#endif

/* ------------------------------------------------------------------------------------- single-record calls */

/*
 * Each call opens the channel, makes one exchange and closes the channel again; nothing is retried, and no heap is used
 * but what the C library may take for a log line. Result: 0, or a negative value: the channel's own when it can't be
 * opened, else -1 unless told otherwise. On a failure the out-parameters stay as they were and a log line says why. A
 * status that refuses is no failure of its own: a record that comes with it is taken as good. The first argument is
 * ignored. A null in one of the pointers named as required is a failure; any other out-pointer may be null, and its
 * record is then left out.
 */

/**
 * Basic record of one file.
 * @param fs required: the file
 * @param ci required: receives the record; `content_type` -1 in it means that there is no such file
 */
int dbGetContentInfo(void *pUnused, const struct db_file_spec *fs, struct db_content_info *ci);

/**
 * Picture format of one file.
 * @param fs required: the file
 * @param mi required: receives the record
 */
int dbGetMoreInfo(void *pUnused, const struct db_file_spec *fs, struct db_more_info *mi);

/**
 * Details and highlights of one video. A file that is no video fails the call, and so does a list of highlights that
 * the response does not hold whole. A failed send returns the channel's own result.
 * @param fs required: the file
 * @param vsi required: receives the record; its `highlight_count` is the database's, whatever was copied
 * @param ci receives the basic record
 * @param highlights room for `maxNumberHighlightsExpected` values; receives at most as many
 * @param maxNumberHighlightsExpected below 1: no highlights are copied
 */
int dbGetVideoSpecificInfo(void *pUnused, const struct db_file_spec *fs, struct db_video_specific_info *vsi,
                           struct db_content_info *ci, uint32_t *highlights, int maxNumberHighlightsExpected);

/**
 * Group record and masks of one group of files. A file that is no group fails the call, and so does a mask that the
 * response does not hold whole. A mask has ((`last_number` - `first_number`) >> 3) + 1 bytes, at most
 * `DB_MASK_MAX_BYTES`.
 * @param fs required: the group's first file
 * @param gci required: receives the group record
 * @param ci required: receives the basic record
 * @param missing receives the missing mask, only when `num_missing` is not 0
 * @param highlights receives the highlight mask, only when `highlight_count` of `ci` is not 0
 */
int dbGetGroupContentInfo(void *pUnused, const struct db_file_spec *fs, struct db_group_content_info *gci,
                          struct db_content_info *ci, uint8_t *missing, uint8_t *highlights);

/**
 * GUMI of one file, and that of its parent. Bytes that a short response does not bring are 0.
 * @param fs required: the file
 * @param gumi required: receives 16 bytes
 * @param pgumi receives 16 bytes; zeros when the file is no clip
 */
int dbGetGUMIByFileName(void *pUnused, const struct db_file_spec *fs, uint8_t *gumi, uint8_t *pgumi);

/**
 * First file of the item with a GUMI.
 * @param gumi required: the 16 bytes looked up
 * @param fs required: receives the name, padded with zeros
 */
int dbGetFileNameByGUMI(void *pUnused, const uint8_t *gumi, struct db_file_spec *fs);

/* ----------------------------------------------------------------------------------------- upload status */

/**
 * Writes the upload status of one file, over a retried exchange.
 * @param pDirName zero-terminated, exactly 8 characters
 * @param pFileName zero-terminated, exactly 12 characters
 * @param uploadStatus the new status; not checked
 * @param token the request's token; the response's is not compared
 * @return 0, also when the database refuses, which a program is not told; negative for a bad name or a failed exchange
 */
int dbSetUploadStatus(const char *pDirName, const char *pFileName, uint32_t uploadStatus, uint32_t token);

/**
 * Reads how many items stand at each upload status, over a retried exchange.
 * @param token the request's token; the response's is not compared
 * @param pUnused not used
 * @param histogram receives the counters; those that the response does not bring are 0. Untouched when the response is
 *        shorter than its header.
 * @return 0, also when the database refuses, which a program is not told; -1 for a failed exchange
 */
int dbGetUploadStatusHistogram(uint32_t token, void *pUnused, struct db_upload_histogram *histogram);

/* ---------------------------------------------------------------------------------------------- documents */

/*
 * Each call prints one HTTP answer on standard output: the head with the status, and with status 200 the whole JSON
 * document. A failure prints no part of the document: the head alone, or behind it a list without entries. Result: 0
 * when the answer's status is 200, else -1. `outputHandle` is opaque and may be null. Each makes the identity of the
 * card, the file MISC/card on it, when it is missing; where that fails the status is 404, but for `dbGetPagedList`.
 */

/**
 * Document about one file.
 * @param pQueryString zero-terminated, must not be null: "p=<directory>/<file>&t=<document>", the documents being
 *        "v4info", "videoinfo", "dur" and "upload"; the last takes "&status=<number>" to write the status first
 */
int generateMetadata(void *outputHandle, const char *pQueryString);

/**
 * The whole card as one list, grouped by directory.
 * @param pQueryString zero-terminated, may be empty: keys `f` (data set), `fields` (keys of an entry), `folder` and
 *        `files` (names for the data set "gumi"), `status`. A query for that data set that does not begin with "f=gumi"
 *        prints nothing and returns -1.
 */
int generateMediaList(void *outputHandle, const char *pQueryString);

/**
 * A range of the card as one list. When the passes are used up by failures the answer has status 200, with what earlier
 * passes brought, or an empty list. The empty list of a failure may have two closing brackets too many.
 * @param pUnused not read
 * @param numPages passes made at most, one page each; a failed one counts; below 1: none
 * @param itemPerPage items asked for in each
 * @param startIndex index of the first item, from 0
 * @param listOptions `DB_LIST_OPTION_...`
 * @param queryOptions `RTOS_DB_QUERY_...`
 */
int dbGetPagedList(void *pUnused, int numPages, int itemPerPage, int startIndex, int listOptions, int queryOptions);

/* ---------------------------------------------------------------------------------- walk of the catalogue */

/** Receives one item. `pItem` and all that it points to are valid during the call only. */
typedef void (*cahItemCallback)(void *itemCookie, struct cah_item_s *pItem);

/** Receives one file of an item. Both texts are zero-terminated and valid during the call only. */
typedef void (*cahFileCallback)(void *fileCookie, const char *pDirName, const char *pFileName);

/**
 * Walks one page of the media items: for each item its callback, then the file callback for each of its files. No
 * channel is open while a callback runs.
 * @param count items wanted; 0 asks for `*pSessionId` and `*pTotal` only
 * @param startIndex index of the first item, from 0
 * @param token the request's token
 * @param itemCallback,fileCallback may be null
 * @param itemCookie,fileCookie first arguments of the callbacks
 * @param pSessionId must not be null: receives the session id, which changes with the catalogue
 * @param pTotal may be null: receives the number of items in the whole catalogue
 * @return items that the page brought, also those beyond the total, which are not walked. Or the number of items
 *         completed before the response was found cut short, if there were any; only an error report tells these
 *         apart. A refusal, with its status, is no failure: the result, `*pSessionId` and `*pTotal` are what that
 *         response says, 0 where it is too short. Negative: the exchange failed, and `*pSessionId` and `*pTotal` are as
 *         they were; or the response is malformed, and they are set.
 */
int dbGetCAHList(uint32_t count, uint32_t startIndex, uint32_t token, cahItemCallback itemCallback, void *itemCookie,
                 cahFileCallback fileCallback, void *fileCookie, uint32_t *pSessionId, uint32_t *pTotal);

/** The same for the files of the metadata sessions, a selection of its own with indices from 0. */
int dbGetCAHSessionFileList(uint32_t count, uint32_t startIndex, uint32_t token, cahItemCallback itemCallback,
                            void *itemCookie, cahFileCallback fileCallback, void *fileCookie, uint32_t *pSessionId,
                            uint32_t *pTotal);

#ifdef __cplusplus
}
#endif

#endif
