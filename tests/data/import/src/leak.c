#include <stdlib.h>
#include <string.h>

int *make(int fill)
{
    int *values = malloc(4 * sizeof(int));
    if (fill)
        memset(values, 0, 4 * sizeof(int));
    return values;
}

int first(int fill)
{
    int *values = fill ? make(1) : NULL;
    return values[0];
}
