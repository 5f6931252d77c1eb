// SPDX-License-Identifier: GPL-2.0-or-later
// Runs a command of QEMU's monitor from inside the guest, over its second serial line: monitor device_del stick
#include <fcntl.h>
#include <poll.h>
#include <stdio.h>
#include <string.h>
#include <termios.h>
#include <unistd.h>

static char text[1 << 16];

/// Reads to the monitor's prompt; false when it does not come.
static int readReply(int line)
{
    static const char prompt[] = "(qemu) ";
    size_t length = 0;
    for (;;) {
        struct pollfd waiting = {line, POLLIN, 0};
        if (poll(&waiting, 1, 10000) <= 0)
            return 0;
        const ssize_t count = read(line, text + length, sizeof text - 1 - length);
        if (count <= 0)
            return 0;
        length += (size_t)count;
        text[length] = 0;
        const size_t end = sizeof prompt - 1;
        if (length >= end && strcmp(text + length - end, prompt) == 0)
            return 1;
        if (length == sizeof text - 1)
            length = 0;
    }
}

int main(int count, char** words)
{
    const int line = open("/dev/ttyS1", O_RDWR | O_NOCTTY);
    struct termios mode;
    if (line < 0 || tcgetattr(line, &mode) != 0)
        return perror("/dev/ttyS1"), 1;
    cfmakeraw(&mode);
    tcsetattr(line, TCSANOW, &mode);
    tcflush(line, TCIOFLUSH);
    char command[4096] = "";
    for (int i = 1; i < count; ++i) {
        strncat(command, words[i], 1000);
        strcat(command, i + 1 < count ? " " : "\n");
    }
    // An empty line first, whose prompt shows that the monitor listens.
    if (write(line, "\n", 1) != 1 || !readReply(line) || write(line, command, strlen(command)) < 0 || !readReply(line))
        return fputs("monitor: no answer\n", stderr), 1;
    // In front of the reply stands the command, as it is echoed letter by letter; behind it the prompt.
    char* const reply = strchr(text, '\n');
    char* const end = strrchr(text, '(');
    if (reply && end > reply)
        fwrite(reply + 1, 1, (size_t)(end - reply - 1), stdout);
    return 0;
}
