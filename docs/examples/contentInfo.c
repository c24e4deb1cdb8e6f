/* Prints what the database knows of one file: contentInfo DIRECTORY FILE */
#include <mxMediaRTOSDB.h>

#include <inttypes.h>
#include <stdio.h>
#include <string.h>

int main(int argc, char **argv)
{
    db_file_spec file = {{0}, {0}};
    db_content_info info;

    if (argc != 3 || strlen(argv[1]) > sizeof file.dir_name || strlen(argv[2]) > sizeof file.file_name) {
        fprintf(stderr, "Usage: contentInfo DIRECTORY FILE\n");
        return 2;
    }
    memcpy(file.dir_name, argv[1], strlen(argv[1]));
    memcpy(file.file_name, argv[2], strlen(argv[2]));
    if (dbGetContentInfo(NULL, &file, &info) < 0) {
        fprintf(stderr, "contentInfo: no answer; syslog tells why\n");
        return 1;
    }
    if (info.content_type == DB_CONTENT_TYPE_NO_FILE) {
        fprintf(stderr, "contentInfo: no such file\n");
        return 1;
    }
    printf("type %" PRId32 ", %" PRIu64 " bytes, %" PRIu32 " highlights\n", info.content_type, info.size,
           info.highlight_count);
    return 0;
}
