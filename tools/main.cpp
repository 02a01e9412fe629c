// uvek: the library's command-line tool.
#include <cstdio>
#include <exception>

#include "commands/commands.h"
#include "commands/files.h"

int main(int argc, char** argv)
{
    CLI::App app("Image and signal primitives on files.", "uvek");
    app.require_subcommand(1);
    int exitStatus = uvek::tool::kDone;
    uvek::tool::AddInfo(app, exitStatus);
    uvek::tool::AddColour(app, exitStatus);
    uvek::tool::AddJpeg(app, exitStatus);
    uvek::tool::AddGeometry(app, exitStatus);
    uvek::tool::AddFilter(app, exitStatus);
    uvek::tool::AddFourier(app, exitStatus);
    uvek::tool::AddVision(app, exitStatus);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "uvek: %s\n", error.what());
        return uvek::tool::kFailed;
    }
    return exitStatus;
}
