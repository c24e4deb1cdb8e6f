/* Tells what the database knows: contentInfo DIRECTORY FILE */
#include <mxMediaRTOSDB.h>

#include <inttypes.h>
#include <stdio.h>
#include <string.h>

static int fail(const char *reason)
{
    fprintf(stderr, "contentInfo: %s\n", reason);
    return 1;
}

/* A name that fills its field has no terminating zero. */
static int setName(char *field, size_t width, const char *name)
{
    const size_t length = strlen(name);

    memcpy(field, name, length < width ? length : width);
    return length <= width;
}

int main(int argc, char **argv)
{
    db_file_spec file = {{0}, {0}};
    db_content_info info;

    if (argc != 3) {
        return fail("takes DIRECTORY FILE");
    }
    if (!setName(file.dir_name, sizeof file.dir_name, argv[1]) ||
        !setName(file.file_name, sizeof file.file_name, argv[2])) {
        return fail("the name is too long");
    }
    if (dbGetContentInfo(NULL, &file, &info) < 0) {
        return fail("no answer; syslog tells why");
    }
    if (info.content_type == DB_CONTENT_TYPE_NO_FILE) {
        return fail("no such file");
    }
    printf("type %" PRId32, info.content_type);
    printf(", %" PRIu64 " bytes", info.size);
    printf(", %" PRIu32 " highlights\n", info.highlight_count);
    return 0;
}
