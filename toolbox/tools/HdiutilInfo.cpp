#include "plist/PropertyList.h"
#include "tools/HdiutilVerbs.h"
#include "tools/SystemEntities.h"
#include "tools/Text.h"
#include "udif/DiskImage.h"

#include <ostream>
#include <pwd.h>
#include <unistd.h>

namespace tools {

using volumes::AttachedImage;

namespace {

constexpr const char* framework = "Vandor DMG";

class Lines {
public:
    explicit Lines(std::ostream& out)
        : m_out(out)
    { }

    void operator()(std::string_view key, std::string_view value)
    {
        m_out << column(key, 16, Align::left) << ": " << value << '\n';
    }

private:
    std::ostream& m_out;
};

std::string userName()
{
    const passwd* user = ::getpwuid(::geteuid());
    return user != nullptr ? user->pw_name : std::to_string(::geteuid());
}

void printImage(std::ostream& out, const AttachedImage& image)
{
    Lines line(out);
    out << std::string(48, '=') << '\n';
    line("image-path", oneLine(image.image.string()));
    line("image-alias", oneLine(image.image.string()));
    line("shadow-path", "<none>");
    line("icon-path", "<none>");
    line("image-type", image.imageType);
    line("system-image", "false");
    line("blockcount", std::to_string(image.sectors));
    line("blocksize", "512");
    line("writeable", image.writable ? "TRUE" : "false");
    line("autodiskmount", "TRUE");
    line("removable", "TRUE");
    line("image-encrypted", "false");
    line("mounting user", userName());
    line("mounting mode", "<unknown>");

    const std::string disk = "/dev/" + image.diskName();
    out << disk << '\t' << image.content << '\t' << (image.slices.empty() ? image.mountPoint : "")
        << '\n';
    for (const volumes::Slice& slice : image.slices) {
        out << disk << 's' << slice.number << '\t' << slice.typeID << '\t'
            << (slice.number == image.volume.number ? image.mountPoint : "") << '\n';
    }
}

plist::Value propertiesOf(const AttachedImage& image)
{
    return plist::Dictionary{
        {"autodiskmount", true},
        {"blockcount", static_cast<int64_t>(image.sectors)},
        {"blocksize", int64_t{udif::sectorBytes}},
        {"image-alias", image.image.string()},
        {"image-encrypted", false},
        {"image-path", image.image.string()},
        {"image-type", image.imageType},
        {"owner-uid", int64_t{::geteuid()}},
        {"removable", true},
        {"system-entities", systemEntities(image)},
        {"system-image", false},
        {"writeable", image.writable},
    };
}

plist::Value propertiesOf(const std::vector<AttachedImage>& images)
{
    plist::Array list;
    for (const AttachedImage& image : images)
        list.push_back(propertiesOf(image));
    return plist::Dictionary{{"framework", framework}, {"images", std::move(list)}};
}

} // namespace

int printAttachedImages(Session& session)
{
    if (!session.arguments.operands().empty())
        throw UsageError("too many arguments");
    const std::vector<AttachedImage> images = session.volumes.list();
    if (session.arguments.has("-plist")) {
        session.out << plist::writeXml(propertiesOf(images));
        return 0;
    }
    Lines line(session.out);
    line("framework", framework);
    line("driver", "<none>");
    line("images", std::to_string(images.size()));
    for (const AttachedImage& image : images)
        printImage(session.out, image);
    return 0;
}

} // namespace tools
