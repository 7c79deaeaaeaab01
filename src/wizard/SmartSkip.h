#pragma once

#include "model/ConfigWrapper.h"
#include "notarization/InspectionResult.h"
#include "notarization/PreFlightInspector.h"

#include <QCoro/QCoroTask>
#include <QPointer>

class AppNotarizationManager;
class NavigationManager;
class SettingsManager;
class SigningManager;

/// Inspects an application as soon as it is chosen: one that is signed, notarized and stapled
/// already needs no further work. Main thread only.
class SmartSkip : public QObject {
    Q_OBJECT
    Q_PROPERTY(bool smartSkipReady READ smartSkipReady NOTIFY smartSkipReadyChanged)
    Q_PROPERTY(QString inspectionStatus READ inspectionStatus NOTIFY inspectionStatusChanged)

public:
    /// Whom it asks and whom it tells. Borrowed: they outlive this object.
    struct Parties {
        ConfigWrapper& job;
        NavigationManager& navigation;
        SigningManager& signing;
        AppNotarizationManager& appNotarization;
        SettingsManager& settings;
        PreFlightInspector& inspector; // outlives every inspection, too
    };
    explicit SmartSkip(Parties parties, QObject* parent = nullptr);

    /// The chosen application has passed the inspection.
    bool smartSkipReady() const { return m_smartSkipReady; }
    /// One line about the inspection, or nothing.
    const QString& inspectionStatus() const { return m_inspectionStatus; }
    void reset();

signals:
    void smartSkipReadyChanged();
    void inspectionStatusChanged();

private:
    static QCoro::Task<> inspect(
        QPointer<SmartSkip> self, int inspection, PreFlightInspector& inspector, QUrl application);
    void follow();
    void applicationRemoved();
    void forgetApplication();
    void abandonInspection();
    bool hears(int inspection, const QUrl& application) const;
    void take(const InspectionResult& result);
    void setReady(bool ready);
    void setStatus(const QString& text);

    Parties m_parties;
    bool m_smartSkipReady = false;
    QString m_inspectionStatus;
    int m_inspection = 0; // grows when what the one under way finds is not wanted any more
    bool m_inspecting = false;
};
