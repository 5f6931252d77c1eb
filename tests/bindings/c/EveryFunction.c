/* SPDX-License-Identifier: GPL-2.0-or-later */
/* A host in C that calls every function of vantorel.h: EveryFunction MACHINE ATA-DATA ATA-THRESHOLDS NVME-LOG NVME-IDENTIFY */
#include "vantorel.h"

#include <poll.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

/* Ends the program at the first thing that is not as it should be. */
#define EXPECT(condition)                                                                                              \
    do {                                                                                                               \
        if (!(condition)) {                                                                                            \
            fprintf(stderr, "%s:%d: %s (%s)\n", __FILE__, __LINE__, #condition, vantorel_last_error());                \
            exit(1);                                                                                                   \
        }                                                                                                              \
    } while (0)

struct bytes {
    unsigned char data[8192];
    size_t size;
};

static struct bytes contents(const char *path)
{
    struct bytes bytes;
    FILE *file = fopen(path, "rb");
    EXPECT(file != NULL);
    bytes.size = fread(bytes.data, 1, sizeof bytes.data, file);
    fclose(file);
    return bytes;
}

static void count_appearances(const char *json, void *context)
{
    EXPECT(strncmp(json, "{\"format\":1,\"time\":\"", 20) == 0);
    EXPECT(strstr(json, "\"event\":\"appeared\"") != NULL);
    ++*(int *)context;
}

static void expect_document(char *json, const char *part)
{
    EXPECT(strncmp(json, "{\"format\":1,", 12) == 0);
    EXPECT(json[strlen(json) - 2] == '}' && json[strlen(json) - 1] == '\n');
    EXPECT(strstr(json, part) != NULL);
    vantorel_free(json);
}

static void look_at_machine(vantorel_machine *machine)
{
    const char *wanted[] = {"disk3", "disk9"};
    char **names = NULL;
    size_t count = 0;
    char *json = NULL;
    char *sentence = NULL;
    vantorel_level level = VANTOREL_UNKNOWN;

    EXPECT(vantorel_drive_names(machine, &names, &count) == VANTOREL_OK);
    EXPECT(count == 5 && strcmp(names[0], "disk0") == 0 && strcmp(names[4], "disk6") == 0);
    vantorel_free(names);

    EXPECT(vantorel_list(machine, &json) == VANTOREL_OK);
    expect_document(json, "\"children\":[{\"bsdName\":\"disk0s1\"");
    EXPECT(vantorel_check(machine, NULL, 0, 0, &json) == VANTOREL_OK);
    expect_document(json, "\"status\":24,\"drives\":[{\"name\":\"disk0\"");
    EXPECT(vantorel_check(machine, wanted, 2, VANTOREL_RAW, &json) == VANTOREL_OK);
    EXPECT(strstr(json, "\"raw\":{\"data\":\"") != NULL);
    expect_document(json, "{\"name\":\"disk9\",\"status\":1,\"state\":\"noDrive\"");

    EXPECT(vantorel_verdict(machine, "disk3", &level, &sentence) == VANTOREL_OK);
    EXPECT(level == VANTOREL_FAILING && strncmp(sentence, "Reallocated_Sector_Ct: value 58", 31) == 0);
    vantorel_free(sentence);
    EXPECT(vantorel_verdict(machine, "/dev/disk0", &level, NULL) == VANTOREL_OK && level == VANTOREL_GOOD);
    EXPECT(vantorel_verdict(machine, "disk9", &level, &sentence) == VANTOREL_NO_DRIVE && sentence == NULL);
    EXPECT(vantorel_verdict(machine, "disk6", &level, NULL) == VANTOREL_NOT_READ);
    EXPECT(strcmp(vantorel_last_error(), "disk6: It has no SMART data.") == 0);
}

static void listen_to_machine(vantorel_machine *machine)
{
    int told = 0;
    int descriptor = -1;
    int fetched = 0;
    char *json = NULL;
    struct pollfd polled;

    EXPECT(vantorel_listen(machine, count_appearances, &told) == VANTOREL_OK);
    EXPECT(told > 5);
    EXPECT(vantorel_listen(machine, NULL, NULL) == VANTOREL_OK);

    EXPECT(vantorel_event_descriptor(machine, &descriptor) == VANTOREL_OK);
    polled.fd = descriptor;
    polled.events = POLLIN;
    EXPECT(poll(&polled, 1, 0) == 1);
    for (; vantorel_next_event(machine, 0, &json) == VANTOREL_OK; ++fetched)
        expect_document(json, "\"event\":\"appeared\"");
    EXPECT(fetched == told);
    EXPECT(vantorel_next_event(machine, 1, &json) == VANTOREL_NO_EVENT && json == NULL);
    EXPECT(poll(&polled, 1, 0) == 0);
}

int main(int count, char **arguments)
{
    vantorel_machine *machine = NULL;
    char *json = NULL;
    if (count != 6)
        return 2;
    EXPECT(strcmp(vantorel_version(), VANTOREL_VERSION) == 0);
    EXPECT(strcmp(vantorel_error_text(VANTOREL_NO_DRIVE), "no such drive") == 0);

    EXPECT(vantorel_open(arguments[1], 0, &machine) == VANTOREL_OK);
    look_at_machine(machine);
    listen_to_machine(machine);
    EXPECT(vantorel_close(machine) == VANTOREL_OK);

    const struct bytes data = contents(arguments[2]);
    const struct bytes thresholds = contents(arguments[3]);
    const struct bytes log = contents(arguments[4]);
    const struct bytes identify = contents(arguments[5]);
    EXPECT(vantorel_decode_ata(data.data, data.size, thresholds.data, thresholds.size, "WDC WD5000AAKS-00TMA0", VANTOREL_RAW,
                               &json) == VANTOREL_OK);
    EXPECT(strstr(json, "\"family\":\"Western Digital Caviar Blue") != NULL);
    expect_document(json, "\"level\":\"atRisk\"");
    EXPECT(vantorel_decode_nvme(log.data, log.size, identify.data, identify.size, 0, &json) == VANTOREL_OK);
    EXPECT(strstr(json, "\"model\":\"Unknown\"") == NULL);
    expect_document(json, "\"level\":\"");
    EXPECT(vantorel_decode_nvme(log.data, log.size, NULL, 0, 0, &json) == VANTOREL_OK);
    expect_document(json, "\"record\":");
    return 0;
}
