// SPDX-License-Identifier: GPL-2.0-or-later
#include "documents/Documents.h"
#include "documents/Status.h"
#include "host/Verbs.h"
#include "host/console/Output.h"
#include "host/files/InputFile.h"
#include "host/views/ResultView.h"
#include "vantorel/health/JudgedReading.h"
#include "vantorel/layouts/Nvme.h"

#include <fmt/format.h>

#include <memory>

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

int show(const health::JudgedReading& judged, Form form)
{
    print(form.json ? decodeDocument(judged, form.raw) : resultText(judged));
    return statusOf(judged.verdict.level);
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
    return show(health::judgeSavedAta(data, thresholds, arguments.model, arguments.ssd).value(), arguments.form);
}

struct NvmeArguments {
    std::string log;
    std::string identify;
    Form form;
};

int decodeNvme(const NvmeArguments& arguments)
{
    const Data log = readImage(arguments.log, sectorSize);
    const Data identify =
        arguments.identify.empty() ? Data() : readImage(arguments.identify, sizeof(NVMeControllerData));
    return show(health::judgeSavedNvme(log, identify).value(), arguments.form);
}

} // namespace

void addDecode(CLI::App& app, int& status)
{
    CLI::App* const decode = app.add_subcommand("decode", "Judge saved SMART data");
    decode->require_subcommand(1);

    CLI::App* const ata = decode->add_subcommand("ata", "Judge the two saved sectors of an ATA drive");
    const auto ataArguments = std::make_shared<AtaArguments>();
    ata->add_option("DATA", ataArguments->data, "File with the SMART data sector")->type_name("FILE")->required();
    ata->add_option("THRESHOLDS", ataArguments->thresholds, "File with the SMART thresholds sector")
        ->type_name("FILE")
        ->required();
    ata->add_option("--model", ataArguments->model, "The drive's model; selects its row of the drive table")
        ->required();
    ata->add_flag("--ssd", ataArguments->ssd, "The drive is solid state");
    ataArguments->form.add(*ata);
    ata->callback([ataArguments, &status] { status = decodeAta(*ataArguments); });

    CLI::App* const nvme = decode->add_subcommand("nvme", "Judge the saved health log of an NVMe drive");
    const auto nvmeArguments = std::make_shared<NvmeArguments>();
    nvme->add_option("LOG", nvmeArguments->log, "File with the SMART / Health Information log")
        ->type_name("FILE")
        ->required();
    nvme->add_option("--identify", nvmeArguments->identify, "File with the Identify Controller data")
        ->type_name("FILE");
    nvmeArguments->form.add(*nvme);
    nvme->callback([nvmeArguments, &status] { status = decodeNvme(*nvmeArguments); });
}

} // namespace vantorel::host
