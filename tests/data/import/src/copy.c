#include <stdio.h>
#include <string.h>

void greet(const char *name)
{
    char buffer[16];
    strcpy(buffer, name);
    printf(buffer);
}
