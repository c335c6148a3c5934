#include "platform/files/Descriptor.h"

#include <cerrno>

#include <unistd.h>

void Descriptor::close()
{
    if (isOpen()) {
        const int error = errno;
        ::close(std::exchange(m_value, -1));
        errno = error;
    }
}
