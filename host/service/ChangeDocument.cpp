// SPDX-License-Identifier: GPL-2.0-or-later
#include "ChangeDocument.h"

#include "documents/Documents.h"
#include "documents/JsonDocument.h"
#include "host/console/Text.h"
#include "vantorel/base/Text.h"
#include "vantorel/health/VerdictJson.h"

#include <fmt/format.h>

namespace vantorel::host {

namespace {

std::string modelOf(const DriveOutcome& outcome)
{
    return outcome.drive ? outcome.drive->model.value_or("") : "";
}

std::string serialOf(const DriveOutcome& outcome)
{
    return outcome.drive ? std::string(base::trimmed(outcome.drive->serial.value_or(""))) : "";
}

std::string nameText(const DriveOutcome& outcome)
{
    std::string text = outcome.name;
    if (const std::string model = modelOf(outcome); !model.empty())
        text += ", " + model;
    if (const std::string serial = serialOf(outcome); !serial.empty())
        text += ", serial " + serial;
    return printable(text);
}

} // namespace

std::string changeText(const LevelChange& change)
{
    const DriveOutcome& outcome = change.outcome;
    const std::string why = outcome.judged ? outcome.judged->verdict.reasons.front().sentence : outcome.error;
    return fmt::format("{}: {} -> {}: {}", nameText(outcome), words(change.before), words(change.now), why);
}

std::string changeDocument(const LevelChange& change)
{
    const DriveOutcome& outcome = change.outcome;
    Json json = {{"format", documentFormat}, {"time", utcTime()}, {"event", "levelChanged"}, {"name", outcome.name}};
    if (const std::string model = modelOf(outcome); !model.empty())
        json["model"] = model;
    if (const std::string serial = serialOf(outcome); !serial.empty())
        json["serial"] = serial;
    json["lastLevel"] = rawValue(change.before);
    json["level"] = rawValue(change.now);
    JsonObject object(json);
    if (outcome.comparedTo)
        object.put("comparedTo", Json(utcTime(*outcome.comparedTo)));
    if (outcome.judged) {
        object.splice("verdict", health::toJson(outcome.judged->verdict));
    } else {
        object.put("error", Json(outcome.error));
        if (!outcome.remedy.empty())
            object.put("remedy", Json(outcome.remedy));
    }
    return object.text() + '\n';
}

std::string changeMail(const LevelChange& change, const std::string& address)
{
    // Texts of the drive have no line ends behind `printable`, so they stay in the lines that they stand in.
    std::string mail =
        fmt::format("To: {}\nSubject: {}: {}\nMIME-Version: 1.0\n"
                    "Content-Type: text/plain; charset=utf-8\n\n{}\n",
                    address, printable(change.outcome.name), words(change.now), printable(changeText(change)));
    if (change.outcome.judged) {
        for (const health::Reason& reason : change.outcome.judged->verdict.reasons)
            mail += fmt::format("- {} ({}: {})\n", printable(reason.sentence), reason.rule, words(reason.level));
        mail += fmt::format("\n{}\n", health::Verdict::promise);
    }
    return mail;
}

std::string changeRules(const LevelChange& change)
{
    std::string rules;
    if (change.outcome.judged) {
        for (const health::Reason& reason : change.outcome.judged->verdict.reasons)
            rules += (rules.empty() ? "" : " ") + std::string(reason.rule);
    }
    return rules;
}

} // namespace vantorel::host
