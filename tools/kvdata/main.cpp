// kvdata: the library's computations from a shell, as tables, JSON and pictures.

#include <cstdio>
#include <cstring>
#include <exception>
#include <string>

#include "Cli.h"
#include "Plot.h"

#ifndef KVDATA_VERSION
#define KVDATA_VERSION "unknown"
#endif

namespace {

// The subcommand a command line names, for the pointer to its help.
std::string SubcommandOf(const CLI::App& app, int argc, char** argv) {
    for (int k = 1; k < argc; ++k)
        for (const CLI::App* sub : app.get_subcommands({}))
            if (sub->get_name() == argv[k]) return " " + sub->get_name();
    return "";
}

int Main(int argc, char** argv) {
    CLI::App app("kvdata: faults, impedance faults, test sequences as COMTRADE, sequence components, tolerances and spectra for relay testing",
                 "kvdata");
    app.require_subcommand(1);
    app.fallthrough();
    app.option_defaults()->always_capture_default();
    app.set_version_flag("--version", "kvdata " KVDATA_VERSION);
    app.add_option_function<int>(
           "--decimals",
           [](int decimals) {
               if (decimals < 0 || decimals > 17) throw kvdata::Error("--decimals: give 0 to 17");
               kvdata::g_decimals = decimals;
           },
           "Decimals of the numbers in tables (JSON and CSV keep every digit)")
        ->type_name("N");
    kvdata::AddFaultCommand(app);
    kvdata::AddImpedanceCommand(app);
    kvdata::AddComtradeCommand(app);
    kvdata::AddTypesCommand(app);
    kvdata::AddSequenceCommand(app);
    kvdata::AddToleranceCommand(app);
    kvdata::AddSpectrumCommand(app);
    kvdata::AddDeviceCommand(app);
    int status = 0;
    kvdata::AddRecordCommands(app, status);
    try {
        app.parse(argc, argv);
    } catch (const CLI::CallForHelp& e) {
        return app.exit(e);
    } catch (const CLI::CallForAllHelp& e) {
        return app.exit(e);
    } catch (const CLI::CallForVersion& e) {
        return app.exit(e);
    } catch (const CLI::ParseError& e) {
        // A usage mistake: one line, a pointer to the help, status 2.
        std::string message = e.what();
        for (char& c : message)
            if (c == '\n') c = ' ';
        while (!message.empty() && message.back() == ' ') message.pop_back();
        std::fprintf(stderr, "kvdata: %s; see kvdata%s --help\n", message.c_str(),
                     SubcommandOf(app, argc, argv).c_str());
        return 2;
    } catch (const std::exception& e) {
        std::fprintf(stderr, "kvdata: %s\n", e.what());
        return 1;
    }
    return status;
}

}  // namespace

int main(int argc, char** argv) {
    const int status = Main(argc, argv);
    kvdata::ReleasePictureResources();
    return status;
}
