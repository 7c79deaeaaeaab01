#include "platform/AtomicFile.h"

#include "platform/Descriptor.h"
#include "platform/PlatformError.h"

#include <QFile>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

bool writeAll(int descriptor, const QByteArray& bytes)
{
    qsizetype done = 0;
    while (done < bytes.size()) {
        const ssize_t count =
            ::write(descriptor, bytes.constData() + done, static_cast<size_t>(bytes.size() - done));
        if (count < 0 && errno != EINTR)
            return false;
        done += count < 0 ? 0 : count;
    }
    return true;
}

} // namespace

void AtomicFile::write(const QString& path, const QByteArray& bytes, mode_t mode)
{
    const QByteArray target = QFile::encodeName(path);
    QByteArray temporary = target + ".XXXXXX";
    const Descriptor file(::mkostemp(temporary.data(), O_CLOEXEC));
    if (!file)
        throw PlatformError::fromErrno(PlatformError::Operation::write, path, errno);
    if (!writeAll(file.get(), bytes) || ::fchmod(file.get(), mode) != 0 || ::fsync(file.get()) != 0
        || ::rename(temporary.constData(), target.constData()) != 0) {
        const int error = errno;
        ::unlink(temporary.constData());
        throw PlatformError::fromErrno(PlatformError::Operation::write, path, error);
    }
}
