/**
 * @file completion.cpp
 * Writes the bash completion of the console: the words of the table of commands, and for each value that is a directory
 * or a file the names on the card. Part of the build, not of the product.
 */
#include <cstdio>
#include <cstring>

#include "cardRoot.h"
#include "commands.h"

namespace
{

// The names of a command's values, without what marks them as values in the usage text.
void printValueNames(const char *pValues)
{
    for (; *pValues != '\0'; ++pValues) {
        if (strchr("<>", *pValues) == nullptr) {
            putchar(*pValues);
        }
    }
}

constexpr char completion[] = R"(
# Offers those of the paths whose names begin with what is typed. Blanks and the like stay quoted throughout: nothing of
# a name is ever run, and a typed name is held against the quoted names of the card.
_mxMediaRTOSDBTestApp_names()
{
    local path name
    for path; do
        printf -v name %q "${path##*/}"
        [[ -e $path && $name == "${COMP_WORDS[COMP_CWORD]}"* ]] && COMPREPLY+=("$name")
    done
}

_mxMediaRTOSDBTestApp()
{
    local values path name media=${_mxMediaRTOSDBTestApp_card}DCIM
    COMPREPLY=()
    if ((COMP_CWORD == 1)); then
        COMPREPLY=($(compgen -W "${!_mxMediaRTOSDBTestApp_values[*]}" -- "${COMP_WORDS[1]}"))
        return
    fi
    values=(${_mxMediaRTOSDBTestApp_values[${COMP_WORDS[1]:--}]-})
    case ${values[COMP_CWORD - 2]-} in
    dirName)
        for path in "$media"/*/; do
            _mxMediaRTOSDBTestApp_names "${path%/}"
        done
        ;;
    fileName)
        for path in "$media"/*/; do
            path=${path%/}
            printf -v name %q "${path##*/}"
            [[ $name == "${COMP_WORDS[COMP_CWORD - 1]}" ]] && _mxMediaRTOSDBTestApp_names "$path"/*
        done
        ;;
    esac
}

complete -F _mxMediaRTOSDBTestApp mxMediaRTOSDBTestApp
)";

} // namespace

int main()
{
    printf("# bash completion for mxMediaRTOSDBTestApp, written from its table of commands\n\n");
    printf("_mxMediaRTOSDBTestApp_card='%s'\n", cardRoot());
    printf("declare -gA _mxMediaRTOSDBTestApp_values=(\n");
    for (const consoleCommand &command : commandTable) {
        printf("    [%s]='", command.pWord);
        printValueNames(command.pValues);
        printf("'\n");
    }
    printf(")\n%s", completion);
    return 0;
}
