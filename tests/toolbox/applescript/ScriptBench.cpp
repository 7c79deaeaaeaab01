#include "ScriptBench.h"

#include "bytes/Unicode.h"
#include "finder/StoreFile.h"

#include <array>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <openssl/evp.h>
#include <stdexcept>

namespace fs = std::filesystem;

namespace {

void writeText(const fs::path& path, std::string_view text)
{
    fs::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary) << text;
}

std::string readText(const fs::path& path)
{
    std::ifstream in(path, std::ios::binary);
    if (!in)
        throw std::runtime_error("missing " + path.string());
    return {std::istreambuf_iterator<char>(in), {}};
}

void replace(std::string& text, const std::string& placeholder, const std::string& value)
{
    const std::size_t at = text.find(placeholder);
    if (at == std::string::npos)
        throw std::runtime_error("no " + placeholder);
    text.replace(at, placeholder.size(), value);
}

} // namespace

DemoVolume::DemoVolume(std::string name)
{
    std::string pattern = (fs::temp_directory_path() / "applescript-XXXXXX").string();
    if (!::mkdtemp(pattern.data()))
        throw std::runtime_error("no temporary folder");
    m_folder = pattern;
    m_volume.name = name;
    m_volume.mountPoint = "/Volumes/" + name;
    m_volume.folder = m_folder / "volume";
    m_volume.createDate = 0xE57CE625;
    m_volume.identityOf = [](const std::string& path) -> std::optional<applescript::ItemIdentity> {
        if (path == ".background")
            return applescript::ItemIdentity{0x12, 0xE57CE610};
        if (path == ".background/bg.png")
            return applescript::ItemIdentity{0x13, 0xE57CE620};
        return std::nullopt;
    };
    fs::create_directories(folder() / "Demo.app/Contents");
    fs::create_symlink("/Applications", folder() / "Applications");
    writeText(folder() / ".background/bg.png", "picture");
    writeText(outside(), "not on the volume");
}

DemoVolume::~DemoVolume()
{
    std::error_code ignored;
    fs::remove_all(m_folder, ignored);
}

bool DemoVolume::hasStore() const
{
    return fs::exists(folder() / ".DS_Store");
}

finder::VolumeWindowStyle DemoVolume::style() const
{
    return finder::VolumeWindowStyle::readFrom(finder::readStoreOf(folder()));
}

std::optional<finder::IconLocation> DemoVolume::position(std::u16string_view name) const
{
    const finder::VolumeWindowStyle written = style();
    const auto found = written.positions.find(std::u16string{name});
    return found == written.positions.end() ? std::nullopt : std::optional{found->second};
}

std::string DemoVolume::storeDigest() const
{
    const std::string raw = readText(folder() / ".DS_Store");
    std::array<unsigned char, 32> digest{};
    EVP_Digest(raw.data(), raw.size(), digest.data(), nullptr, EVP_sha256(), nullptr);
    std::string hex;
    for (const unsigned char byte : digest) {
        hex += "0123456789abcdef"[byte >> 4];
        hex += "0123456789abcdef"[byte & 15];
    }
    return hex;
}

std::string layoutScript(const LayoutJob& job)
{
    static const std::string layout =
        readText(fs::path{TEST_DATA_DIR} / "applescript/layout.applescript");
    std::string script = layout;
    replace(script, "%MOUNT_PATH%", job.mountPath);
    replace(script, "%VOLUME_NAME%", job.volumeName);
    replace(script, "%RIGHT%", job.right);
    replace(script, "%BOTTOM%", job.bottom);
    replace(script, "%ICON_SIZE%", job.iconSize);
    replace(script, "%TEXT_SIZE%", job.textSize);
    replace(script, "%BACKGROUND_COMMAND%", job.background);
    replace(script, "%APP_ITEM%", job.appItem);
    replace(script, "%APP_X%", "140");
    replace(script, "%APP_Y%", "178");
    replace(script, "%LINK_X%", "460");
    replace(script, "%LINK_Y%", "178");
    return script;
}

std::string ScriptRun::pointedAt(const std::string& script) const
{
    if (!error || !error->range())
        return "(no range)";
    const std::u16string units = bytes::utf16FromUtf8(script).value_or(u"");
    const applescript::Range range = *error->range();
    return bytes::utf8FromUtf16(units.substr(range.start, range.end - range.start));
}

ScriptRun runScript(const std::string& script, std::vector<applescript::MountedVolume> volumes)
{
    applescript::Finder finder{std::move(volumes)};
    applescript::VirtualClock clock;
    ScriptRun run;
    try {
        run.result = applescript::runScript(script, finder, clock);
    } catch (const applescript::ScriptError& error) {
        run.error = error;
    }
    run.seconds = clock.waited().count();
    return run;
}

ScriptRun tellFinder(const std::string& lines, std::vector<applescript::MountedVolume> volumes)
{
    return runScript("tell application \"Finder\"\n" + lines + "\nend tell", std::move(volumes));
}
