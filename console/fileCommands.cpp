#include "commands.h"

#include <cstdio>

#include "input.h"
#include "mxMediaRTOSDB.h"
#include "printers.h"

namespace
{

constexpr uint32_t maxHighlights = 100;

// Reads the values of a command about one file, says what it does, and makes its passes.
template <typename Pass>
commandEnd runFileCommand(consoleState *pConsole, const char *pTopic, Pass pass)
{
    db_file_spec file;
    inputDirName(pConsole, file.dir_name);
    inputFileName(pConsole, file.file_name);
    const int loopCount = inputLoopCount(pConsole);
    inputLogLevel(pConsole);
    printf("Getting %s for file : %.08s/%.12s\n", pTopic, file.dir_name, file.file_name);
    return runPasses(loopCount, [&] { return pass(&file); });
}

commandEnd passContentInfo(const db_file_spec *pFile)
{
    db_content_info info = {};
    const int ret = dbGetContentInfo(nullptr, pFile, &info);
    if (ret < 0) {
        return endOnFailedCall("dbGetContentInfo", ret);
    }
    printContentInfo(info, SIZE_THEN_EMPTY_LINE);
    return commandDone;
}

commandEnd passMoreInfo(const db_file_spec *pFile)
{
    db_more_info info = {};
    const int ret = dbGetMoreInfo(nullptr, pFile, &info);
    if (ret < 0) {
        return endOnFailedCall("dbGetMoreInfo", ret);
    }
    printMoreInfo(info);
    return commandDone;
}

commandEnd passGroupContentInfo(const db_file_spec *pFile)
{
    db_group_content_info group = {};
    db_content_info info = {};
    uint8_t missing[DB_MASK_MAX_BYTES] = {};
    uint8_t highlights[DB_MASK_MAX_BYTES] = {};
    const int ret = dbGetGroupContentInfo(nullptr, pFile, &group, &info, missing, highlights);
    if (ret < 0) {
        return endOnFailedCall("dbGetGroupContentInfo", ret);
    }
    printContentInfo(info, SIZE_ALONE);
    printGroupContentInfo(group);
    printMaskNumbers("Missing: ", group, missing, group.num_missing);
    printMaskNumbers("Hilights: ", group, highlights, info.highlight_count);
    return commandDone;
}

commandEnd passVideoSpecificInfo(const db_file_spec *pFile)
{
    db_video_specific_info video = {};
    db_content_info info = {};
    uint32_t highlights[maxHighlights] = {};
    const int ret = dbGetVideoSpecificInfo(nullptr, pFile, &video, &info, highlights, maxHighlights);
    if (ret < 0) {
        return endOnFailedCall("dbGetVideoSpecificInfo", ret);
    }
    printContentInfo(info, SIZE_ALONE);
    printVideoSpecificInfo(video);
    if (video.highlight_count == 0) {
        return commandDone;
    }
    if (video.highlight_count > maxHighlights) {
        printf("Highlights: %u, TOO MANY - exiting\n", video.highlight_count);
        return {true, -1};
    }
    printHighlights(highlights, video.highlight_count);
    return commandDone;
}

commandEnd passGumiByFile(const db_file_spec *pFile)
{
    uint8_t gumi[DB_GUMI_BYTES] = {};
    uint8_t pgumi[DB_GUMI_BYTES] = {};
    const int ret = dbGetGUMIByFileName(nullptr, pFile, gumi, pgumi);
    if (ret < 0) {
        return endOnFailedCall("dbGetGUMIByFileName", ret);
    }
    printGumi("Received GUMI: ", gumi);
    printGumi("Received PGUMI: ", pgumi);
    return commandDone;
}

commandEnd passFileByGumi(const uint8_t *pGumi)
{
    db_file_spec file = {};
    const int ret = dbGetFileNameByGUMI(nullptr, pGumi, &file);
    if (ret < 0) {
        return endOnFailedCall("dbGetFileNameByGUMI", ret);
    }
    printf("Received file_name : %.08s/%.12s\n", file.dir_name, file.file_name);
    return commandDone;
}

} // namespace

commandEnd contentInfoCommand(consoleState *pConsole)
{
    return runFileCommand(pConsole, "content info", passContentInfo);
}

commandEnd moreInfoCommand(consoleState *pConsole)
{
    return runFileCommand(pConsole, "more info", passMoreInfo);
}

commandEnd groupContentInfoCommand(consoleState *pConsole)
{
    return runFileCommand(pConsole, "group content info", passGroupContentInfo);
}

commandEnd videoSpecificInfoCommand(consoleState *pConsole)
{
    return runFileCommand(pConsole, "video specific info", passVideoSpecificInfo);
}

commandEnd gumiByFileCommand(consoleState *pConsole)
{
    return runFileCommand(pConsole, "GUMI info", passGumiByFile);
}

commandEnd fileByGumiCommand(consoleState *pConsole)
{
    uint8_t gumi[DB_GUMI_BYTES];
    inputGumi(pConsole, gumi);
    const int loopCount = inputLoopCount(pConsole);
    inputLogLevel(pConsole);
    printGumi("Getting file for GUMI: ", gumi);
    return runPasses(loopCount, [&] { return passFileByGumi(gumi); });
}

commandEnd histogramCommand(consoleState *)
{
    printf("Getting upload histogram\n");
    db_upload_histogram histogram = {};
    const int ret = dbGetUploadStatusHistogram(DB_CALLERS_TOKEN, nullptr, &histogram);
    if (ret < 0) {
        return endOnFailedCall("dbGetUploadStatusHistogram", ret);
    }
    printHistogram(histogram);
    return commandDone;
}

commandEnd setUploadStatusCommand(consoleState *pConsole)
{
    // The zeroed query buffer holds both names, each with its terminating zero.
    char *pDirName = pConsole->query;
    char *pFileName = pDirName + DB_DIR_NAME_BYTES + 1;
    inputDirName(pConsole, pDirName);
    inputFileName(pConsole, pFileName);
    const uint32_t status = inputUploadStatus(pConsole);
    if (pConsole->interactive) {
        printf("Setting upload status of %u for file : %.08s/%.12s\n", status, pDirName, pFileName);
    }
    const int loopCount = inputLoopCount(pConsole);
    inputLogLevel(pConsole);
    return runPasses(loopCount, [&] {
        const int ret = dbSetUploadStatus(pDirName, pFileName, status, 0);
        return ret < 0 ? endOnReturn(ret) : commandDone;
    });
}
