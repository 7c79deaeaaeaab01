#pragma once

#include <QDir>
#include <QString>
#include <QTemporaryDir>

/// A user's home for the tour: applications good and bad, a background, an identity for rehearsals.
/// It lies where homes lie, so that the pictures show paths as users have them; where there is such
/// a user already, or no right to make one, it lies in a temporary folder. Gone with this object.
class Home {
public:
    /// Becomes this process's home.
    Home();
    ~Home();
    Home(const Home&) = delete;
    Home& operator=(const Home&) = delete;

    QString file(const QString& name) const { return m_folder.filePath(name); }
    QString state() const { return file(QStringLiteral(".local/share/vandor-dmg")); }
    QString temporary() const { return file(QStringLiteral(".cache")); }
    QString background() const { return file(QStringLiteral("Pictures/background.png")); }
    /// The sample application.
    QString good() const { return file(QStringLiteral("Projects/Hello Vandor.app")); }
    /// The same without a program that can be read, and with a pipe that can't be copied.
    QString bad() const { return file(QStringLiteral("Projects/Broken.app")); }
    /// No image, whatever its name.
    QString badImage() const { return file(QStringLiteral("Desktop/Broken.dmg")); }

private:
    QTemporaryDir m_spare; // where there is no other place
    QDir m_folder;
};
