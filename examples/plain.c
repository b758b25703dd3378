/* SPDX-License-Identifier: MIT */

/*
 * A program in plain C that loads the plug-in with dlopen(), writes one report and prints where. It
 * does not use the plug-in object, which is C++, and hence receives no device events.
 *   example_plain PLUGIN [ROOT]
 */
#include "kestrun/KestrunHostTable.h"

#include <dlfcn.h>
#include <stdio.h>

/* Writes the address of a function of the library; returns 0 if the library does not have it. */
static int resolve(void *library, const char *name, void *function)
{
    *(void **)function = dlsym(library, name);
    if (!*(void **)function)
        fprintf(stderr, "%s is missing in the plug-in\n", name);
    return *(void **)function != NULL;
}

int main(int argc, char **argv)
{
    KestrunGetHostTableFunction getTable;
    KestrunSetSystemRootFunction setRoot;
    const KestrunHostTable *table;
    void *library = argc > 1 ? dlopen(argv[1], RTLD_NOW | RTLD_LOCAL) : NULL;

    if (!library) {
        fprintf(stderr, "%s\n", argc > 1 ? dlerror() : "name the plug-in file");
        return 1;
    }
    if (!resolve(library, "KestrunGetHostTable", &getTable)
        || !resolve(library, "KestrunSetSystemRoot", &setRoot))
        return 1;
    table = getTable();
    if (table->version != KESTRUN_HOST_TABLE_VERSION || table->size < sizeof *table) {
        fprintf(stderr, "the plug-in is of another version\n");
        return 1;
    }
    if (argc > 2)
        setRoot(argv[2]);
    if (!table->controller()) {
        fprintf(stderr, "there is no memory for the plug-in\n");
        return 1;
    }
    table->writeReport();
    printf("a report was written to %s\n", table->dataDirectory());
    table->destroy();
    /* The library stays loaded: Qt does not support that it is unloaded and loaded again. */
    return 0;
}
