// SPDX-License-Identifier: GPL-2.0-or-later
// A host: tells the level of every drive of the recorded machine in its argument, and what keeps it from being read.
#include <vantorel/disks/Vantorel.h>
#include <vantorel/health/JudgedReading.h>
#include <vantorel/machines/recorded/Loading.h>
#include <vantorel/machines/recorded/RecordedMachine.h>
#include <vantorel/smart/SmartController.h>
#include <vantorel/system/Installation.h>
#include <vantorel/system/RunLoop.h>

#include <iostream>

using namespace vantorel;

int main(int, char** arguments)
{
    // An exception of the library's is caught by its type on the host's side.
    try {
        static_cast<void>(recorded::loadRecording("/nowhere"));
    } catch (const recorded::RecordingError&) {
        std::cout << "nowhere is no machine\n";
    }
    system::install(std::make_unique<recorded::RecordedMachine>(recorded::loadRecording(arguments[1])));
    static_cast<void>(Vantorel::shared());
    while (system::performPendingWork()) {
    }
    for (const auto& drive : Vantorel::shared().drives()) {
        std::cout << drive->bsdName().value_or("?") << ": ";
        try {
            const health::JudgedReading judged(SmartController::shared().getSmartData(*drive));
            std::cout << words(judged.verdict.level) << '\n';
        } catch (const SmartOpenError&) {
            std::cout << "cannot be opened\n";
        }
    }
}
