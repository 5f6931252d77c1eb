// SPDX-License-Identifier: GPL-2.0-or-later
#include "host/Verbs.h"
#include "host/console/Output.h"
#include "host/files/InputFile.h"
#include "host/health/JudgedReading.h"
#include "host/views/HealthJson.h"
#include "host/views/ResultView.h"
#include "vantorel/base/Bytes.h"
#include "vantorel/layouts/Nvme.h"
#include "vantorel/nvme/NvmePowerStates.h"
#include "vantorel/smart/SmartController.h"

#include <fmt/format.h>

#include <memory>
#include <utility>

namespace vantorel::host {

namespace {

constexpr std::size_t sectorSize = 512;

// A saved sector may have more behind it, which stays in the result. What is larger than this is no saved sector.
constexpr std::size_t largestFile = 1 << 20;

Data readImage(const std::string& path, std::size_t least)
{
    Data bytes = readFile(path, largestFile);
    if (bytes.size() < least)
        throw CommandError(path, fmt::format("holds {} bytes, at least {} are needed", bytes.size(), least));
    return bytes;
}

/// How a result is shown.
struct Form {
    bool json = false;
    bool raw = false;

    void add(CLI::App& verb)
    {
        auto* const option = verb.add_flag("--json", json, "Print the result as JSON");
        verb.add_flag("--raw", raw, "With the raw bytes")->needs(option);
    }
};

int show(const JudgedReading& judged, Form form)
{
    if (form.json) {
        JsonObject document(Json{{"format", documentFormat}, {"status", judged.status()}});
        putHealth(document, judged, form.raw);
        print(document.text() + '\n');
    } else {
        print(resultText(judged));
    }
    return judged.status();
}

struct AtaArguments {
    std::string data;
    std::string thresholds;
    std::string model;
    bool ssd = false;
    Form form;
};

int decodeAta(const AtaArguments& arguments)
{
    const Data data = readImage(arguments.data, sectorSize);
    const Data thresholds = readImage(arguments.thresholds, sectorSize);
    const auto result = SmartController::shared().processExtractedSmart(data, DataView(thresholds), false,
                                                                        arguments.ssd, arguments.model);
    return show({{result.value(), {}, {}}, arguments.ssd}, arguments.form);
}

struct NvmeArguments {
    std::string log;
    std::string identify;
    Form form;
};

int decodeNvme(const NvmeArguments& arguments)
{
    const Data log = readImage(arguments.log, sectorSize);
    auto result = SmartController::shared().nvmeSmartController().processExportedSmart(log).value();
    Data identify;
    if (!arguments.identify.empty()) {
        identify = readImage(arguments.identify, sizeof(NVMeControllerData));
        result.deviceInfo = processControllerData(*readRecord<NVMeControllerData>(identify));
    }
    return show({{std::move(result), std::move(identify), {}}, true, log}, arguments.form);
}

} // namespace

void addDecode(CLI::App& app, int& status)
{
    CLI::App* const decode = app.add_subcommand("decode", "Judge saved SMART data");
    decode->require_subcommand(1);

    CLI::App* const ata = decode->add_subcommand("ata", "Judge the two saved sectors of an ATA drive");
    const auto ataArguments = std::make_shared<AtaArguments>();
    ata->add_option("DATA", ataArguments->data, "File with the SMART data sector")->required();
    ata->add_option("THRESHOLDS", ataArguments->thresholds, "File with the SMART thresholds sector")->required();
    ata->add_option("--model", ataArguments->model, "The drive's model; selects its row of the drive table")
        ->required();
    ata->add_flag("--ssd", ataArguments->ssd, "The drive is solid state");
    ataArguments->form.add(*ata);
    ata->callback([ataArguments, &status] { status = decodeAta(*ataArguments); });

    CLI::App* const nvme = decode->add_subcommand("nvme", "Judge the saved health log of an NVMe drive");
    const auto nvmeArguments = std::make_shared<NvmeArguments>();
    nvme->add_option("LOG", nvmeArguments->log, "File with the SMART / Health Information log")->required();
    nvme->add_option("--identify", nvmeArguments->identify, "File with the Identify Controller data");
    nvmeArguments->form.add(*nvme);
    nvme->callback([nvmeArguments, &status] { status = decodeNvme(*nvmeArguments); });
}

} // namespace vantorel::host
