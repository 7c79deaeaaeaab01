#include "FuzzFolder.h"
#include "FuzzInput.h"

#include "applescript/Clock.h"
#include "applescript/Finder.h"
#include "applescript/Interpreter.h"
#include "applescript/ScriptError.h"

namespace fs = std::filesystem;
using namespace applescript;

namespace {

/// The volume "Demo", with nothing that an earlier script left there.
MountedVolume demoVolume(const fuzz::FuzzFolder& around)
{
    MountedVolume volume;
    volume.name = "Demo";
    volume.mountPoint = "/Volumes/Demo";
    volume.folder = around.path() / "Demo";
    if (!fs::exists(volume.folder)) {
        fs::create_directories(volume.folder / "Demo.app/Contents");
        fs::create_symlink("/Applications", volume.folder / "Applications");
        around.write("Demo/.background/bg.png", {});
    }
    fs::remove(volume.folder / ".DS_Store");
    return volume;
}

} // namespace

// A script that lays a volume's window out, or anything else.
FUZZ_TARGET(script, input)
{
    static const fuzz::FuzzFolder around;
    Finder finder{{demoVolume(around)}};
    VirtualClock clock;
    fuzz::accepts<ScriptError>([&] {
        const Value result = runScript(fuzz::textOf(input), finder, clock);
        sourceForm(result);
        rawForm(result);
    });
}
