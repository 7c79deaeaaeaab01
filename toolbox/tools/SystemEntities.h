#pragma once

#include "plist/Value.h"

namespace volumes {
struct AttachedImage;
} // namespace volumes

namespace tools {

/// The devices of an attached image, the whole disk first, as hdiutil tells programs of them: a
/// dictionary each with "dev-entry", "content-hint", "mount-point" (where one is mounted) ...
plist::Array systemEntities(const volumes::AttachedImage& image);

} // namespace tools
