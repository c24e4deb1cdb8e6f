#include "card.h"

#include "cardRoot.h"

// In place of the camera's mount point.
const char *cardRoot()
{
    return TemporaryCard::current.c_str();
}
