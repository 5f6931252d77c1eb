// SPDX-License-Identifier: GPL-2.0-or-later
#include "HealthJson.h"

#include "vantorel/base/Base64.h"
#include "vantorel/health/VerdictJson.h"
#include "vantorel/smart/records/RecordJson.h"

namespace vantorel {

namespace {

/// The row of a drive table that describes the drive.
Json rowJson(const KnownDrive& known)
{
    return {{"table", known.table->name},
            {"revision", known.table->revision},
            {"row", known.rowIndex},
            {"family", known.row->modelfamily},
            {"warning", known.row->warningmsg}};
}

} // namespace

void putHealth(JsonObject& object, const health::JudgedReading& judged, bool raw)
{
    const health::Reading view = judged.view();
    object.splice("verdict", health::toJson(judged.verdict));
    if (judged.known)
        object.put("knownAs", judged.known->row ? rowJson(*judged.known) : Json());
    object.splice("attributes", health::toJson(health::attributesOf(view)));
    object.splice("record", toJson(judged.reading.result));
    if (!raw)
        return;
    Json bytes = {{"data", base::base64(judged.data)}};
    if (!view.thresholds.empty())
        bytes["thresholds"] = base::base64(view.thresholds);
    if (!view.identify.empty())
        bytes["identify"] = base::base64(view.identify);
    object.put("raw", bytes);
}

} // namespace vantorel
