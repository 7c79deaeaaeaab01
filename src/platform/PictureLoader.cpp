#include "platform/PictureLoader.h"

#include "platform/MainQueue.h"

#include <QImageReader>
#include <QPointer>
#include <QThreadPool>

namespace {

QImage readPicture(const QString& path, const QSize& largest)
{
    QImageReader reader(path);
    reader.setAutoTransform(true);
    reader.setDecideFormatFromContent(true);
    const QSize size = reader.size();
    const bool shrinks = largest.isValid() && size.isValid()
        && (size.width() > largest.width() || size.height() > largest.height());
    // Most formats come out smaller at once, without the whole picture in memory.
    if (shrinks)
        reader.setScaledSize(size.scaled(largest, Qt::KeepAspectRatio).expandedTo({1, 1}));
    return reader.read();
}

} // namespace

void PictureLoader::load(const QUrl& location, const QSize& largest, QObject* context,
    std::function<void(const QImage&)> receive)
{
    const QPointer<QObject> guard(context);
    QThreadPool::globalInstance()->start(
        [path = location.toLocalFile(), largest, guard, receive = std::move(receive)] {
            const QImage picture = readPicture(path, largest);
            MainQueue::post([picture, guard, receive] {
                if (guard)
                    receive(picture);
            });
        });
}
