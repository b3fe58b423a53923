/* Built as C99 from the C umbrella header alone: it must compile by itself and give the whole face. */
#include <qorcommon/c/qorcommon.h>

#include <stdio.h>
#include <string.h>

int main(void) {
    orv_String_ptr text = orv_string_constructFromData("umbrella");
    const int ok = strcmp(orv_string_data(text), "umbrella") == 0;
    printf("%s %s\n", orv_string_data(text), QORCOMMON_VERSION_STRING);
    orv_string_destruct(text);
    return ok ? 0 : 1;
}
