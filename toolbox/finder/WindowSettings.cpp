#include "finder/WindowSettings.h"

#include "finder/PropertyFields.h"

#include <array>
#include <charconv>
#include <cmath>

namespace finder {

namespace {

struct BarKey {
    const char* key;
    bool WindowSettings::*field;
};

constexpr std::array barKeys{
    BarKey{"ShowToolbar", &WindowSettings::showToolbar},
    BarKey{"ShowStatusBar", &WindowSettings::showStatusBar},
    BarKey{"ShowSidebar", &WindowSettings::showSidebar},
    BarKey{"ContainerShowSidebar", &WindowSettings::containerShowSidebar},
    BarKey{"ShowTabView", &WindowSettings::showTabView},
    BarKey{"ShowPathbar", &WindowSettings::showPathbar},
    BarKey{"PreviewPaneVisibility", &WindowSettings::previewPaneVisibility},
};

const std::string boundsKey = "WindowBounds";
const std::string sidebarKey = "SidebarWidth";

std::string numberText(double value)
{
    std::array<char, 400> buffer; // room for the largest double without an exponent
    const auto end = std::to_chars(
        buffer.data(), buffer.data() + buffer.size(), value, std::chars_format::fixed);
    return {buffer.data(), end.ptr};
}

/// Reads the fixed text and the numbers of a frame one after the other.
class FrameParser {
public:
    explicit FrameParser(std::string_view text)
        : m_rest(text)
    { }

    void expect(std::string_view text)
    {
        if (!m_rest.starts_with(text))
            fail();
        m_rest.remove_prefix(text.size());
    }

    double number()
    {
        double value = 0;
        const auto [end, fault] = std::from_chars(m_rest.begin(), m_rest.end(), value);
        if (fault != std::errc{} || !std::isfinite(value))
            fail();
        m_rest.remove_prefix(static_cast<std::size_t>(end - m_rest.begin()));
        return value;
    }

    void expectEnd() const
    {
        if (!m_rest.empty())
            fail();
    }

private:
    [[noreturn]] static void fail()
    {
        throw bytes::FormatError(boundsKey + " is not of the form {{x, y}, {width, height}}");
    }

    std::string_view m_rest;
};

} // namespace

std::string frameText(const WindowFrame& frame)
{
    return "{{" + numberText(frame.x) + ", " + numberText(frame.y) + "}, {"
        + numberText(frame.width) + ", " + numberText(frame.height) + "}}";
}

WindowFrame frameFromText(std::string_view text)
{
    FrameParser in(text);
    WindowFrame frame;
    in.expect("{{");
    frame.x = in.number();
    in.expect(", ");
    frame.y = in.number();
    in.expect("}, {");
    frame.width = in.number();
    in.expect(", ");
    frame.height = in.number();
    in.expect("}}");
    in.expectEnd();
    return frame;
}

std::vector<std::byte> writeWindowSettings(const WindowSettings& settings)
{
    PropertyDictionary dictionary;
    for (const BarKey& row : barKeys)
        dictionary[row.key] = settings.*row.field;
    dictionary[sidebarKey] = settings.sidebarWidth;
    dictionary[boundsKey] = frameText(settings.frame);
    return writePropertyList(dictionary);
}

WindowSettings readWindowSettings(std::span<const std::byte> blob)
{
    const PropertyDictionary dictionary = readPropertyList(blob);
    WindowSettings settings;
    for (const BarKey& row : barKeys)
        takeProperty(dictionary, row.key, settings.*row.field);
    takeProperty(dictionary, sidebarKey, settings.sidebarWidth);
    std::string bounds = frameText(settings.frame);
    takeProperty(dictionary, boundsKey, bounds);
    settings.frame = frameFromText(bounds);
    return settings;
}

} // namespace finder
