/* Stands in for the front end in the orchestration benchmark: takes the front end's command
   line, sleeps as long as a small compile takes, and writes the output (and the dependency
   file a compile is asked for). Sleeping instead of compiling keeps the load of a shared
   machine out of the tools' own time: what differs between the build tools is what they spend
   between one tool ending and the next starting. */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <time.h>

int main(int argc, char **argv)
{
    const char *output = NULL, *depend = NULL, *source = NULL;
    for (int i = 1; i < argc; ++i) {
        if (strcmp(argv[i], "-o") == 0 && i + 1 < argc)
            output = argv[++i];
        else if (strcmp(argv[i], "-depend") == 0 && i + 1 < argc)
            depend = argv[++i];
        else if (strcmp(argv[i], "-inputfiles") == 0 && i + 1 < argc)
            ++i;
        else if (argv[i][0] != '-')
            source = argv[i];
    }
    const long milliseconds = getenv("STANDIN_MS") ? atol(getenv("STANDIN_MS")) : 25;
    const struct timespec pause = {milliseconds / 1000, (milliseconds % 1000) * 1000000L};
    nanosleep(&pause, NULL);
    if (!output)
        return 1;
    FILE *file = fopen(output, "w");
    if (!file)
        return 1;
    fclose(file);
    if (depend && source) {
        file = fopen(depend, "w");
        if (!file)
            return 1;
        fprintf(file, "%s: %s\n", output, source);
        fclose(file);
    }
    return 0;
}
