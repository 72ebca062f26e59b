// kvdata: the library's computations from a shell, as tables, JSON and pictures.

#include <cstdio>
#include <exception>

#include "Cli.h"
#include "Plot.h"

namespace {

int Main(int argc, char** argv) {
    CLI::App app("kvdata: faults, sequence components, tolerances and spectra for relay testing",
                 "kvdata");
    app.require_subcommand(1);
    app.option_defaults()->always_capture_default();
    kvdata::AddFaultCommand(app);
    kvdata::AddTypesCommand(app);
    kvdata::AddSequenceCommand(app);
    kvdata::AddToleranceCommand(app);
    kvdata::AddSpectrumCommand(app);
    kvdata::AddDeviceCommand(app);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& e) {
        return app.exit(e);
    } catch (const kvdata::Error& e) {
        std::fprintf(stderr, "kvdata: %s\n", e.what());
        return 1;
    } catch (const std::exception& e) {
        std::fprintf(stderr, "kvdata: %s\n", e.what());
        return 1;
    }
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    const int status = Main(argc, argv);
    kvdata::ReleasePictureResources();
    return status;
}
