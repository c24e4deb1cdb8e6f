#include "skipBlanks.h"

#include <cstring>

const char *skipBlanks(const char *pText)
{
    if (pText == nullptr) {
        return nullptr;
    }
    pText += strspn(pText, " \t");
    return *pText == '\0' ? nullptr : pText;
}
