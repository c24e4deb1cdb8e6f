#include "cardRoot.h"

const char *cardRoot()
{
    return "/tmp/fuse_d/";
}
