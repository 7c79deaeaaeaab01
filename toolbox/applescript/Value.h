#pragma once

#include "applescript/Term.h"

#include <cstddef>
#include <memory>
#include <string>
#include <variant>
#include <vector>

namespace applescript {

class Value;

/// What a command without a result leaves.
struct Nothing {
    bool operator==(const Nothing&) const = default;
};
struct MissingValue {
    bool operator==(const MissingValue&) const = default;
};
struct Enumerator {
    TermID id;

    bool operator==(const Enumerator&) const = default;
};
/// `application "Finder"`; whether there is such an application shows when it is talked to.
struct ApplicationName {
    std::string name;

    bool operator==(const ApplicationName&) const = default;
};
/// `POSIX file "/x"`: a path, whether or not something lies there.
struct PosixFile {
    std::string path;

    bool operator==(const PosixFile&) const = default;
};
/// `... as alias`: a file that was there when the alias was made.
struct Alias {
    std::string path;

    bool operator==(const Alias&) const = default;
};

/// Items are shared and never changed. Copies are cheap, however large the list.
class List {
public:
    List() = default;
    explicit List(std::vector<Value> items);

    const std::vector<Value>& items() const;
    /// How deep lists lie in lists; 1 for a flat one.
    std::size_t depth() const { return m_depth; }
    /// A bound of the bytes that the list takes when it is written out.
    std::size_t weight() const { return m_weight; }

private:
    std::shared_ptr<const std::vector<Value>> m_items;
    std::size_t m_depth = 1;
    std::size_t m_weight = 2;
};

/// An object that is named but not looked up: a property, or an element of a class by its key.
struct Reference {
    const Term* term = nullptr;
    std::shared_ptr<const Value> key; // null for a property; a text, a number
    std::shared_ptr<const Value> of; // null: the application's own
    bool byID = false; // the key is an id and no index

    bool isProperty() const { return !key; }
};

/// Any value that a script can hold.
class Value {
public:
    using Content = std::variant<Nothing, MissingValue, bool, int64_t, double, std::string, List,
        Enumerator, ApplicationName, PosixFile, Alias, Reference>;

    Value() = default;
    template <typename T>
    Value(T content)
        : m_content(std::move(content))
    { }
    Value(const char* text)
        : m_content(std::string{text})
    { }
    Value(int number)
        : m_content(int64_t{number})
    { }

    template <typename T>
    const T* as() const
    {
        return std::get_if<T>(&m_content);
    }
    template <typename T>
    bool is() const
    {
        return std::holds_alternative<T>(m_content);
    }
    const Content& content() const { return m_content; }

private:
    Content m_content;
};

/// AppleScript's equality: text without regard to (ASCII) case, 1 equals 1.0, lists item by item.
bool isEqual(const Value& left, const Value& right);

/// As a script would write the value: `"text"` in quotes, `{1, 2}`, `item "A" of disk "X"`. Empty
/// for Nothing.
std::string sourceForm(const Value& value);
/// For errors of the language itself, which doesn't use the application's words:
/// `«class cfol» of window 1 of application "Finder"`.
std::string rawForm(const Value& value);
/// The colon form of a path, start-up disk first: `Macintosh HD:Volumes:X`.
std::string colonForm(const std::string& posixPath);
/// The other way; a path that begins with another disk leads below /Volumes.
std::string posixForm(const std::string& colonPath);

} // namespace applescript
