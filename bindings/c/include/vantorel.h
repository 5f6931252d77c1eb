/* SPDX-License-Identifier: GPL-2.0-or-later */
/*
 * The state and health of a machine's drives, for C and for every language that calls C.
 *
 *     vantorel_machine *machine;
 *     char *json;
 *     if (vantorel_open(NULL, 0, &machine) != VANTOREL_OK ||
 *         vantorel_check(machine, NULL, 0, 0, &json) != VANTOREL_OK) {
 *         fprintf(stderr, "%s\n", vantorel_last_error());
 *         return 1;
 *     }
 *     puts(json);
 *     vantorel_free(json);
 *     vantorel_close(machine);
 *
 * Results are JSON documents, those that the command `vantorel` prints: docs/json.md tells every key. A document is one
 * line with its line end, in UTF-8; nothing in it follows the locale. Two calls give results without JSON:
 * vantorel_drive_names and vantorel_verdict.
 *
 * Machines. One machine is open in a process at a time. It is looked at on a thread of its own, which lives from
 * vantorel_open to vantorel_close, takes no signals, and on which event callbacks are called. A program uses either
 * this interface or the C++ library, not both. After fork() the machine stays with the parent: in the child every call
 * on it fails, and no other can be opened. Nothing is written to standard output or standard error.
 *
 * Threads. Every function may be called from any thread, several at once on one machine. Reads of drives follow each
 * other; within one call drives are read side by side, on up to sixteen threads. A call that is under way when another
 * thread closes the machine is finished first.
 *
 * Errors. A function that can fail gives a vantorel_error, and VANTOREL_OK, which is 0, when it did not; then only has
 * it filled in its results. vantorel_last_error tells more. No exception and no signal comes out of any function.
 *
 * Texts that go in are UTF-8 and end with a 0 byte, and so do those that come out.
 */
/* NOLINTBEGIN(modernize-deprecated-headers, modernize-use-using): this is C. */
#ifndef VANTOREL_H
#define VANTOREL_H

#include <stddef.h>

#define VANTOREL_VERSION_MAJOR 0
#define VANTOREL_VERSION_MINOR 1
#define VANTOREL_VERSION_PATCH 0
#define VANTOREL_VERSION "0.1.0"

#if defined(__GNUC__)
#define VANTOREL_API __attribute__((visibility("default")))
#else
#define VANTOREL_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* How a call ended. The numbers stay; more may come. */
typedef enum vantorel_error {
    VANTOREL_OK = 0,
    VANTOREL_BAD_ARGUMENT = 1, /* NULL where something is needed, no UTF-8, an unknown flag, or too few bytes */
    VANTOREL_BAD_HANDLE = 2,   /* the machine is closed, or never was one */
    VANTOREL_BUSY = 3,         /* a machine is open in this process already */
    VANTOREL_CANNOT_OPEN = 4,  /* there is no machine at that path, or none that this build can look at */
    VANTOREL_NO_DRIVE = 5,     /* there is no drive of that name */
    VANTOREL_NOT_READ = 6,     /* the drive has no SMART data, sleeps, or could not be read */
    VANTOREL_NO_EVENT = 7,     /* the time is over and nothing has happened */
    VANTOREL_EVENTS_LOST = 8,  /* too many events waited, and those are gone */
    VANTOREL_IN_CALLBACK = 9,  /* not to be called from an event callback */
    VANTOREL_NO_MEMORY = 10,
    VANTOREL_FAILED = 11       /* anything else */
} vantorel_error;

/* What a verdict makes of a drive. docs/health.md tells the rules. */
typedef enum vantorel_level {
    VANTOREL_GOOD = 0,
    VANTOREL_WATCH = 1,   /* worth a look now and then */
    VANTOREL_AT_RISK = 2, /* replace it in time */
    VANTOREL_FAILING = 3, /* save the data now */
    VANTOREL_UNKNOWN = 4  /* nothing can be said */
} vantorel_level;

/* Flags, to be OR-ed. A function takes those that its comment names. */
enum {
    VANTOREL_WAKE = 1, /* read drives that sleep, too, which wakes them */
    VANTOREL_PLAY = 2, /* let the later events of a recording happen, each in its time after the opening */
    VANTOREL_RAW = 4,  /* with the raw bytes that a result was made of */
    VANTOREL_SSD = 8   /* the drive is solid state */
};

/* An open machine. It is never looked into: a closed one, and anything that is none, is told from an open one. */
typedef struct vantorel_machine vantorel_machine;

/* The version of the library that runs, such as "0.1.0". Lives as long as the process. Any thread. */
VANTOREL_API const char *vantorel_version(void);

/* An error in a few words, such as "no such drive"; those of VANTOREL_FAILED for an unknown number. Lives as long as
 * the process. Any thread. */
VANTOREL_API const char *vantorel_error_text(vantorel_error error);

/* Why the last call in this thread that failed did so, as a sentence or "WHAT: WHY"; empty while none has. Lives until
 * the thread's next call that fails; of the library's own making, not to be freed. */
VANTOREL_API const char *vantorel_last_error(void);

/* Gives back what another function left to the caller. NULL is passed over. Any thread. */
VANTOREL_API void vantorel_free(void *memory);

/* Opens a machine: with a path of NULL the computer that the process runs on, else a recording (a folder, a registry
 * listing, a machine.json) or a report. All its disks are known at return. Flags: VANTOREL_WAKE, VANTOREL_PLAY. What is
 * put into `machine` is to be closed by vantorel_close; it may be used by any thread. Fails with VANTOREL_BUSY while
 * another machine is open, and with VANTOREL_CANNOT_OPEN. */
VANTOREL_API vantorel_error vantorel_open(const char *path, unsigned flags, vantorel_machine **machine);

/* Closes a machine, after which another may be opened. Waits for calls on it that are under way in other threads, but
 * wakes those that wait for events, which end with VANTOREL_BAD_HANDLE. No event callback is called any more once it
 * returns. Fails with VANTOREL_IN_CALLBACK when called from one. */
VANTOREL_API vantorel_error vantorel_close(vantorel_machine *machine);

/* The tree of disks as it is now: the document of `vantorel list --json`, to be freed by vantorel_free. */
VANTOREL_API vantorel_error vantorel_list(vantorel_machine *machine, char **json);

/* The device names of the drives, such as "disk0", in the order of the machine, and how many there are. The array and
 * its texts are one piece of memory, to be freed by one vantorel_free; it is NULL when there are none. */
VANTOREL_API vantorel_error vantorel_drive_names(vantorel_machine *machine, char ***names, size_t *count);

/* Reads and judges drives: the document of `vantorel smart --json`, to be freed by vantorel_free. `names` are device
 * names or serial numbers; with a count of 0 all drives are read. A drive that cannot be read, or that there is not, is
 * told in the document and is no error. Flags: VANTOREL_RAW. Blocks until each drive has answered or a time limit is
 * over. */
VANTOREL_API vantorel_error vantorel_check(vantorel_machine *machine, const char *const *names, size_t count,
                                           unsigned flags, char **json);

/* Reads and judges one drive: its level and, unless `sentence` is NULL, the gravest reason for it, to be freed by
 * vantorel_free. `name` is a device name or a serial number. Fails with VANTOREL_NO_DRIVE and, with the cause in
 * vantorel_last_error, VANTOREL_NOT_READ. Blocks as vantorel_check does. */
VANTOREL_API vantorel_error vantorel_verdict(vantorel_machine *machine, const char *name, vantorel_level *level,
                                             char **sentence);

/* Judges the two saved sectors of an ATA drive, of 512 bytes or more each, without any machine: the document of
 * `vantorel decode ata --json`, to be freed by vantorel_free. `model` selects the row of the drive table. Flags:
 * VANTOREL_RAW, VANTOREL_SSD. The buffers stay the caller's and are not kept. Any thread. */
VANTOREL_API vantorel_error vantorel_decode_ata(const void *data, size_t data_size, const void *thresholds,
                                                size_t thresholds_size, const char *model, unsigned flags, char **json);

/* Judges the saved SMART / Health Information log of an NVMe drive, of 512 bytes or more: the document of `vantorel
 * decode nvme --json`, to be freed by vantorel_free. `identify` is its Identify Controller data of 4096 bytes, or NULL
 * with a size of 0. Flags: VANTOREL_RAW. The buffers stay the caller's and are not kept. Any thread. */
VANTOREL_API vantorel_error vantorel_decode_nvme(const void *log, size_t log_size, const void *identify,
                                                 size_t identify_size, unsigned flags, char **json);

/* Told of an event: a line of `vantorel watch --json`, which lives until the callback returns, and what was handed to
 * vantorel_listen. Called on the machine's thread, one call at a time. It may call any function but vantorel_close; as
 * long as it runs no other event is told, and calls of other threads on this machine wait. No exception and no longjmp
 * may leave it. */
typedef void (*vantorel_event_callback)(const char *json, void *context);

/* Has `callback` called for every disk that appears, changes or goes, in the place of the callback before; those that
 * are there already are told first, before this returns. NULL ends it: no call is under way any more when this returns,
 * unless it is called from the callback itself. `context` is passed on as it is. */
VANTOREL_API vantorel_error vantorel_listen(vantorel_machine *machine, vantorel_event_callback callback, void *context);

/* For a program with an event loop: a descriptor that is readable while vantorel_next_event has something to give. It
 * is the machine's, is only to be polled, and ends with it. From the first call of this or of vantorel_next_event on
 * events wait to be fetched, beside those that a callback is told; the disks that are there already wait first. */
VANTOREL_API vantorel_error vantorel_event_descriptor(vantorel_machine *machine, int *descriptor);

/* The next event, a line of `vantorel watch --json`, to be freed by vantorel_free. Waits for it for at most so many
 * milliseconds: 0 not at all, -1 without an end. Fails with VANTOREL_NO_EVENT when the time is over, with
 * VANTOREL_IN_CALLBACK when it would have to wait in an event callback, and with VANTOREL_BAD_HANDLE when the machine
 * is closed meanwhile. When more than 4096 events wait all of them are dropped, and VANTOREL_EVENTS_LOST tells so once:
 * vantorel_list has the disks as they are. Of several threads each event goes to one. */
VANTOREL_API vantorel_error vantorel_next_event(vantorel_machine *machine, int milliseconds, char **json);

#ifdef __cplusplus
}
#endif

#endif
/* NOLINTEND(modernize-deprecated-headers, modernize-use-using) */
