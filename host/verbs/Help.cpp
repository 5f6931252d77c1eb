// SPDX-License-Identifier: GPL-2.0-or-later
#include "documents/Status.h"
#include "host/Verbs.h"
#include "host/console/Output.h"
#include "host/help/HelpText.h"
#include "host/help/Suggestion.h"

#include <memory>
#include <string>
#include <vector>

namespace vantorel::host {

void addHelp(CLI::App& app, int& status)
{
    CLI::App* const help = app.add_subcommand("help", "What the command, or a verb, does and takes");
    const auto words = std::make_shared<std::vector<std::string>>();
    help->add_option("VERB", *words, "The verb, such as smart or db show; the command itself unless told");
    help->callback([&app, words, &status] {
        const CLI::App* verb = &app;
        std::string name = app.get_name();
        for (const std::string& word : *words) {
            const CLI::App* const under = verbNamed(*verb, word);
            if (!under)
                throw CommandError("arguments", "there is no verb \"" + word + "\"." + suggestionFor(*verb, word));
            verb = under;
            name += ' ' + word;
        }
        print(HelpText().make_help(verb, name, CLI::AppFormatMode::Normal));
        status = success;
    });
}

} // namespace vantorel::host
