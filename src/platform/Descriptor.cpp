#include "platform/Descriptor.h"

#include <algorithm>
#include <cerrno>
#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

Descriptor::~Descriptor()
{
    if (m_number >= 0)
        ::close(m_number);
}

bool readFolder(int descriptor, std::vector<QByteArray>& names)
{
    const int own = ::openat(descriptor, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    DIR* const folder = own < 0 ? nullptr : ::fdopendir(own);
    if (!folder) {
        const int error = errno;
        if (own >= 0)
            ::close(own);
        errno = error;
        return false;
    }
    errno = 0;
    while (const dirent* entry = ::readdir(folder)) {
        const QByteArray name(entry->d_name);
        if (name != "." && name != "..")
            names.push_back(name);
    }
    const int error = errno;
    ::closedir(folder);
    errno = error;
    std::sort(names.begin(), names.end());
    return error == 0;
}
