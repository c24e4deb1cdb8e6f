#include "consoleState.h"

commandEnd endOnFailedCall(const char *pCallName, int ret)
{
    printf("%s returned %d\n", pCallName, ret);
    return {true, ret};
}

commandEnd endOnReturn(int ret)
{
    printf("\nreturn %d\n", ret);
    return {true, ret};
}
