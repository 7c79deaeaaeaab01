#pragma once

#include <QString>

/// A place beside the output where the image is made, so that the output's own name always means
/// the old image or the finished new one. The folder goes with this object.
class StagedOutput {
public:
    /// `target` is absolute. Throws PlatformError.
    explicit StagedOutput(const QString& target);
    ~StagedOutput() { remove(); }
    StagedOutput(const StagedOutput&) = delete;
    StagedOutput& operator=(const StagedOutput&) = delete;

    /// A file of the target's name on the target's file system.
    QString path() const;
    const QString& folder() const { return m_folder; }
    const QString& target() const { return m_target; }
    /// Puts the finished file in place of the target. Throws PlatformError.
    void place();
    /// Removes the folder and what is in it; there is nothing to be done afterwards.
    void remove();

    /// Whether a path looks like one of `folder()`.
    static bool isStagingFolder(const QString& path);

private:
    QString m_target;
    QString m_folder;
};
