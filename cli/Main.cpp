// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// velmar: makes, checks and serves provider packages on the embedded CIM server.
#include <Pegasus/Common/Exception.h>

#include <exception>
#include <filesystem>
#include <iostream>

#include "Commands.h"

velmar_cli::ExitCode velmar_cli::guarded(const Run& run) {
    try {
        return run();
    } catch (const Pegasus::Exception& e) {
        std::cerr << "velmar: " << e.getMessage().getCString() << "\n";
    } catch (const std::filesystem::filesystem_error& e) {
        std::cerr << "velmar: " << e.path1().string() << ": " << e.code().message() << "\n";
    } catch (const std::exception& e) {
        std::cerr << "velmar: " << e.what() << "\n";
    }
    return Unusable;
}

int main(int argc, char** argv) {
    CLI::App app("Makes, checks and serves CIM provider packages, on the embedded CIM server.",
                 "velmar");
    app.require_subcommand(1);
    app.set_version_flag("--version", "velmar " VELMAR_VERSION " (embedded CIM server)");
    velmar_cli::Run run;
    velmar_cli::addNew(app, run);
    velmar_cli::addGenerate(app, run);
    velmar_cli::addCheck(app, run);
    velmar_cli::addAsk(app, run);
    velmar_cli::addRecord(app, run);
    velmar_cli::addDiff(app, run);
    velmar_cli::addExplain(app, run);
#ifdef VELMAR_HAS_WIRE
    velmar_cli::addListen(app, run);
    velmar_cli::addServe(app, run);
#endif

    if (argc == 1) {
        std::cerr << app.help();
        return velmar_cli::Unusable;
    }
    const auto isCalled = [&](const CLI::App* command) { return command->check_name(argv[1]); };
    if (argv[1][0] != '-' && app.get_subcommands(isCalled).empty()) {
        std::cerr << "velmar: unknown command " << argv[1] << "; velmar --help lists them\n";
        return velmar_cli::Unusable;
    }
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& e) {
        return app.exit(e) == 0 ? velmar_cli::Good : velmar_cli::Unusable;
    }
    return velmar_cli::guarded(run);
}
