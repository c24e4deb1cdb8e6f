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
# Offers the names in a folder that the card's items can have, none of which needs quotes, behind an opening quote too.
# The names come from compgen, as in a loop over a pattern the shell's option failglob would end the completion.
_mxMediaRTOSDBTestApp_names() # pattern of the folder's paths, expression for the names
{
    local path typed=${COMP_WORDS[COMP_CWORD]#[\"\']}
    while read -r path; do
        path=${path%/}
        [[ ${path##*/} =~ $2 && ${path##*/} == "$typed"* ]] && COMPREPLY+=("${path##*/}")
    done < <(compgen -G "$1")
}

_mxMediaRTOSDBTestApp()
{
    local values folder media=${_mxMediaRTOSDBTestApp_card}DCIM isFolder='^[1-9][0-9]{2}(MOXEL|M3D_[LR])$'
    COMPREPLY=()
    if ((COMP_CWORD == 1)); then
        COMPREPLY=($(compgen -W "${!_mxMediaRTOSDBTestApp_values[*]}" -- "${COMP_WORDS[1]}"))
        return
    fi
    values=(${_mxMediaRTOSDBTestApp_values[${COMP_WORDS[1]:--}]-})
    case ${values[COMP_CWORD - 2]-} in
    dirName)
        _mxMediaRTOSDBTestApp_names "$media/*/" "$isFolder"
        ;;
    fileName)
        folder=${COMP_WORDS[COMP_CWORD - 1]//[\"\']/}
        [[ $folder =~ $isFolder ]] &&
            _mxMediaRTOSDBTestApp_names "$media/$folder/*" '^[A-Z0-9_]{4}[0-9]{4}\.(MP4|JPG|MET)$'
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
