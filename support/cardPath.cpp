#include <cstdio>

#include "cardRoot.h"

const char *cardPath(char (&path)[CARD_PATH_MAX], const char *pBelow)
{
    snprintf(path, sizeof path, "%s%s", cardRoot(), pBelow);
    return path;
}
