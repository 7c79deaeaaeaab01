#pragma once

#include <QUrl>

#include <string>

/// What a command works on: an application or a disk image.
struct Subject {
    enum class Kind { application, image };

    Kind kind = Kind::application;
    QUrl location; // absolute

    bool isImage() const { return kind == Kind::image; }
    QString path() const { return location.toLocalFile(); }
    /// "application" or "image".
    QString kindName() const;
};

/// The subject that a path on the command line names; through a link, what that leads to. Throws
/// UsageError for what is neither application nor image, or not there.
Subject subjectAt(const std::string& typed);
/// The same where only an application, or only an image, makes sense.
Subject applicationAt(const std::string& typed);
Subject imageAt(const std::string& typed);
