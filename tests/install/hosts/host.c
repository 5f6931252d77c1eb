/* SPDX-License-Identifier: GPL-2.0-or-later */
/* The same in C: the level of every drive of the machine in its argument. */
#include <vantorel.h>

#include <stdio.h>

int main(int count, char **arguments)
{
    static const char *const levels[] = {"good", "watch", "at risk", "failing", "unknown"};
    vantorel_machine *machine = NULL;
    char **names = NULL;
    size_t drives = 0;

    if (count != 2)
        return 2;
    if (vantorel_open("/nowhere", 0, &machine) == VANTOREL_CANNOT_OPEN)
        printf("nowhere is no machine\n");
    if (vantorel_open(arguments[1], 0, &machine) != VANTOREL_OK ||
        vantorel_drive_names(machine, &names, &drives) != VANTOREL_OK) {
        fprintf(stderr, "%s\n", vantorel_last_error());
        return 1;
    }
    for (size_t i = 0; i < drives; ++i) {
        vantorel_level level = VANTOREL_UNKNOWN;
        const vantorel_error error = vantorel_verdict(machine, names[i], &level, NULL);
        printf("%s: %s\n", names[i], error == VANTOREL_NOT_READ ? "cannot be opened" : levels[level]);
    }
    vantorel_free(names);
    return vantorel_close(machine) != VANTOREL_OK;
}
