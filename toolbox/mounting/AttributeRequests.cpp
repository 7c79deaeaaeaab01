#include "mounting/AttributeRequests.h"

#include "mounting/Answer.h"

#include <span>
#include <string>
#include <string_view>

namespace mounting {

namespace {

void setAttribute(fuse_req_t request, fuse_ino_t number, const char* name, const char* value,
    std::size_t size, int flags)
{
    answer(request, [&](VolumeTree& tree) {
        using Setting = AttributeStore::Setting;
        constexpr int mustBeNew = 1, mustExist = 2; // XATTR_CREATE, XATTR_REPLACE
        const Setting setting = flags == mustBeNew ? Setting::mustBeNew
            : flags == mustExist                   ? Setting::mustExist
                                                   : Setting::either;
        tree.attributes().set(
            tree.node(number), name, std::as_bytes(std::span(value, size)), setting);
        fuse_reply_err(request, 0);
    });
}

/// Attributes are first asked for their size and then for themselves.
void replySized(fuse_req_t request, std::span<const char> value, std::size_t size)
{
    if (size == 0)
        fuse_reply_xattr(request, value.size());
    else if (value.size() > size)
        fuse_reply_err(request, ERANGE);
    else
        fuse_reply_buf(request, value.data(), value.size());
}

void getAttribute(fuse_req_t request, fuse_ino_t number, const char* name, std::size_t size)
{
    answer(request, [&](VolumeTree& tree) {
        if (std::string_view(name) == untouchedAttribute) {
            if (tree.isUntouched(tree.node(number)))
                return replySized(request, "1", size);
            throw std::system_error(ENODATA, std::generic_category());
        }
        if (std::string_view(name) == writtenAttribute) {
            const bool isRoot = number == VolumeTree::rootNumber;
            if (isRoot ? tree.contents().hasWriters() : tree.node(number).writers > 0)
                return replySized(request, "1", size);
            throw std::system_error(ENODATA, std::generic_category());
        }
        const auto value = tree.attributes().value(tree.node(number), name);
        replySized(request, {reinterpret_cast<const char*>(value.data()), value.size()}, size);
    });
}

void listAttributes(fuse_req_t request, fuse_ino_t number, std::size_t size)
{
    answer(request, [&](VolumeTree& tree) {
        std::string list;
        for (const std::string& name : tree.attributes().names(tree.node(number)))
            list.append(name).push_back('\0');
        replySized(request, list, size);
    });
}

void removeAttribute(fuse_req_t request, fuse_ino_t number, const char* name)
{
    answer(request, [&](VolumeTree& tree) {
        tree.attributes().remove(tree.node(number), name);
        fuse_reply_err(request, 0);
    });
}

} // namespace

void addAttributeHandlers(fuse_lowlevel_ops& handlers)
{
    handlers.setxattr = setAttribute;
    handlers.getxattr = getAttribute;
    handlers.listxattr = listAttributes;
    handlers.removexattr = removeAttribute;
}

} // namespace mounting
