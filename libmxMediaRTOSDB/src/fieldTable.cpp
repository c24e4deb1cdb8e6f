#include "fieldTable.h"

void appendNumber(mxMediaDBOutput *pMXMOut, int *pStatus, const char *pPrepend, const char *pKey, uint32_t value)
{
    appendEntry(pMXMOut, pStatus, "%s\"%s\":\"%u\"", pPrepend, pKey, value);
}
