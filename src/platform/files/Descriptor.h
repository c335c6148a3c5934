#pragma once

#include <utility>

// Owns one of the system's file descriptors and closes it at the end of its life. Internal to the
// platform.
class Descriptor {
public:
    Descriptor() = default;
    // Takes the result of a call that opens something; a negative one is no descriptor.
    explicit Descriptor(int value) : m_value(value) {}
    ~Descriptor() { close(); }

    Descriptor(Descriptor&& other) noexcept : m_value(std::exchange(other.m_value, -1)) {}
    Descriptor& operator=(Descriptor&& other) noexcept
    {
        std::swap(m_value, other.m_value);
        return *this;
    }

    [[nodiscard]] bool isOpen() const { return m_value >= 0; }
    [[nodiscard]] int value() const { return m_value; }

    // Leaves errno as it was.
    void close();

private:
    int m_value = -1;
};
