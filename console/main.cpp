#include "consoleRun.h"

int main(int argc, char **argv)
{
    return consoleRun(argc, argv);
}
