#pragma once

#include "mounting/Requests.h"

#define FUSE_USE_VERSION 314
#include <fuse3/fuse_lowlevel.h>

#include <cerrno>
#include <new>
#include <system_error>

namespace mounting {

/// Seconds that the kernel may rely on an answer. Nobody but the kernel changes the tree.
inline constexpr double kept = 86400;

inline ServedVolume& servedVolume(fuse_req_t request)
{
    return *static_cast<ServedVolume*>(fuse_req_userdata(request));
}

inline VolumeTree& treeOf(fuse_req_t request)
{
    return servedVolume(request).tree;
}

/// Runs `work`, which replies unless it throws.
template <typename Work>
void answer(fuse_req_t request, Work work)
{
    int code = EIO;
    try {
        work(treeOf(request));
        return;
    } catch (const std::system_error& failure) {
        if (failure.code().category() == std::generic_category() && failure.code().value() > 0)
            code = failure.code().value();
    } catch (const std::bad_alloc&) {
        code = ENOMEM;
    } catch (const std::exception&) {
        // A damaged volume.
    }
    fuse_reply_err(request, code);
}

/// What the kernel is told of a node.
inline fuse_entry_param entryOf(VolumeTree& tree, Node& node)
{
    fuse_entry_param entry{};
    entry.ino = node.number;
    entry.attr = tree.status(node);
    entry.attr_timeout = entry.entry_timeout = kept;
    return entry;
}

} // namespace mounting
