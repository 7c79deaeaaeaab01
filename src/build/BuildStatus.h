#pragma once

#include <QString>

/// State of the current or last build. `text` is the failure's description and empty otherwise, so
/// that two failures are equal when their texts are.
struct BuildStatus {
    enum class Case { idle, building, success, failed, cancelled };

    Case which = Case::idle;
    QString text;

    static BuildStatus idle() { return {Case::idle, {}}; }
    static BuildStatus building() { return {Case::building, {}}; }
    static BuildStatus success() { return {Case::success, {}}; }
    static BuildStatus failed(QString text) { return {Case::failed, std::move(text)}; }
    static BuildStatus cancelled() { return {Case::cancelled, {}}; }

    bool isBuilding() const { return which == Case::building; }
    bool operator==(const BuildStatus&) const = default;
};
