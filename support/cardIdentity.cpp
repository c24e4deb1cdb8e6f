#include "cardIdentity.h"

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <sys/stat.h>

#include "cardRoot.h"

namespace
{

constexpr int maxRandomCalls = 10;
constexpr mode_t folderMode = 0777;

void storeNoIdentity(char *cardId)
{
    snprintf(cardId, CARD_ID_BYTES, "0");
}

// Whether a folder was there already and may hold an identity, or had to be made, or can't be had.
enum folderState { FOLDER_THERE, FOLDER_MADE, FOLDER_FAILED };

folderState findFolder()
{
    char folder[CARD_PATH_MAX];
    char shown[CARD_PATH_MAX];
    cardPath(folder, "MISC");
    cardPath(shown, "MISC/");
    struct stat state = {};
    // The slash at the end hides a plain file from stat.
    if (stat(shown, &state) != 0 && (errno != ENOTDIR || stat(folder, &state) != 0)) {
        if (mkdir(shown, folderMode) != 0) {
            fprintf(stderr, "Failed to create folder:%s\n", shown);
            return FOLDER_FAILED;
        }
        return FOLDER_MADE;
    }
    if (!S_ISDIR(state.st_mode)) {
        fprintf(stderr, "Path:%s exists and is a NOT folder\n", shown);
        return FOLDER_FAILED;
    }
    return FOLDER_THERE;
}

bool readIdentity(const char *pPath, char *cardId)
{
    FILE *pFile = fopen(pPath, "r");
    if (pFile == nullptr) {
        return false;
    }
    const bool read = fgets(cardId, CARD_ID_BYTES, pFile) != nullptr;
    fclose(pFile);
    if (!read) {
        storeNoIdentity(cardId); // what a failed read leaves is undefined
    }
    return read;
}

// 0 when every call gave 0.
int64_t randomNumber()
{
    srand(static_cast<unsigned>(time(nullptr)));
    int64_t number = 0;
    for (int call = 0; call < maxRandomCalls && number == 0; ++call) {
        number = rand();
    }
    return number;
}

int makeIdentity(const char *pPath, char *cardId)
{
    FILE *pFile = fopen(pPath, "w");
    if (pFile == nullptr) {
        fprintf(stderr, "Failed to create file  %s\n", pPath);
        return -1;
    }
    const int64_t number = randomNumber();
    if (number == 0) {
        fclose(pFile);
        fprintf(stderr, "Failed to get random number\n");
        return -1;
    }
    snprintf(cardId, CARD_ID_BYTES, "%lld", static_cast<long long>(number * number - 1));
    const bool put = fputs(cardId, pFile) >= 0;
    // So short a text reaches the card only when the file is closed.
    const bool closed = fclose(pFile) == 0;
    if (!put || !closed) {
        fprintf(stderr, "Failed to get write card_id to file\n");
        return -1;
    }
    return 0;
}

} // namespace

int getCardIDStr(char *cardId)
{
    if (cardId == nullptr) {
        fprintf(stderr, "Cannot call with null pointer\n");
        return -1;
    }
    storeNoIdentity(cardId);
    const folderState folder = findFolder();
    if (folder == FOLDER_FAILED) {
        return -1;
    }
    char path[CARD_PATH_MAX];
    cardPath(path, "MISC/card");
    if (folder == FOLDER_THERE && readIdentity(path, cardId)) {
        return 0;
    }
    return makeIdentity(path, cardId);
}
