// The console with a card of the tester's own, the folder that TEST_CARD names, in place of the camera's.
#include <cstdlib>

#include "cardRoot.h"

const char *cardRoot()
{
    return getenv("TEST_CARD");
}
