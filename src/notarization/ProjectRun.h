#pragma once

#include <QPointer>
#include <QString>

/// Whom a run writes to: its manager, as long as that is there and still at the same project.
template <class Manager>
class ProjectRun {
public:
    ProjectRun(Manager* manager, int project)
        : m_manager(manager)
        , m_project(project)
    { }

    /// Appends to the manager's log.
    void say(const QString& text) const
    {
        if (Manager* const written = manager())
            written->append(text);
    }
    /// Null when there is nobody to write to any more. Valid until the next suspension.
    Manager* manager() const
    {
        return m_manager && m_manager->project() == m_project ? m_manager.data() : nullptr;
    }

private:
    QPointer<Manager> m_manager;
    int m_project;
};
