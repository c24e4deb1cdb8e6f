#include "fillField.h"

#include <cstring>

void fillField(char *pField, size_t width, const char *pText)
{
    const size_t length = strnlen(pText, width);
    memcpy(pField, pText, length);
    memset(pField + length, 0, width - length);
}
