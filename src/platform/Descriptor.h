#pragma once

#include <QByteArray>

#include <utility>
#include <vector>

/// Owns a file descriptor, or none.
class Descriptor {
public:
    Descriptor() = default;
    explicit Descriptor(int number)
        : m_number(number)
    { }
    Descriptor(Descriptor&& other) noexcept
        : m_number(std::exchange(other.m_number, -1))
    { }
    Descriptor& operator=(Descriptor&& other) noexcept
    {
        std::swap(m_number, other.m_number);
        return *this;
    }
    ~Descriptor();

    int get() const { return m_number; }
    explicit operator bool() const { return m_number >= 0; }

private:
    int m_number = -1;
};

/// The sorted names in the folder that `descriptor` is open on, but "." and "..". False with
/// `errno` when it can't be read.
bool readFolder(int descriptor, std::vector<QByteArray>& names);
