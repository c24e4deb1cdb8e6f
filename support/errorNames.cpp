#include "errorNames.h"

const mxNameOfCode mxErrnoStrMap[MX_ERRNO_ROWS] = {
    {"MX_OK", 0},
    {"MX_ERR", -1},
    {"MX_ERR_OUTOFMEM", -2},
    {"MX_ERR_INVALID_PARAM", -3},
    {"MX_ERR_INCOMPLETE_CGI_PARAM", -4},
    {"MX_ERR_MQ_FAIL", -5},
    {"MX_ERR_NO_SDCARD", -6},
    {"MX_ERR_SDCARD_FULL", -7},
    {"MX_ERR_CREATING_MISC_DIR", -8},
    {"MX_ERR_UPLOADED_FILE", -9},
    {"MX_ERR_FILE_OPEN", -10},
    {"MX_ERR_FILE_READ", -11},
    {"MX_ERR_FILE_WRITE", -12},
    {"MX_ERR_REMOTE_FILE_OPEN", -14},
    {"MX_ERR_REMOTE_FILE_READ", -15},
    {"MX_ERR_REMOTE_FILE_WRITE", -16},
    {"MX_ERR_ACCESS_DENIED", -17},
    {"MX_ERR_NAK", -101},
    {"MX_ERR_RESPONSE_ALREADY_SENT", -102},
    {"MX_ERR_NAK_OFF", -103},
    {"MX_ERR_NOT_SUPPORTED", -104},
    {"MX_ERR_DOWNLOAD_FAILED", -100},
};

namespace
{

constexpr int32_t endOfModels = -1;

// No camera model has a code here yet.
constexpr mxNameOfCode mxModelStrMap[] = {
    {nullptr, endOfModels},
};

} // namespace

const char *mxErrnoToStr(int32_t code)
{
    for (const mxNameOfCode &row : mxErrnoStrMap) {
        if (row.code == code) {
            return row.pName;
        }
    }
    return "UNKNOWN";
}

const char *mxModelToStr(int32_t code)
{
    for (const mxNameOfCode *pRow = mxModelStrMap; pRow->code != endOfModels; ++pRow) {
        if (pRow->code == code) {
            return pRow->pName;
        }
    }
    return nullptr;
}
