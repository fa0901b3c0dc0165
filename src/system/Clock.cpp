#include <sys/time.h>

#include <ctime>

#include "system/System.h"

namespace KX {

void CSystem::MSleep(unsigned int milliseconds) {
    timespec left{static_cast<std::time_t>(milliseconds / 1000), static_cast<long>(milliseconds % 1000) * 1'000'000};
    while (::nanosleep(&left, &left) == -1) {  // a signal; the rest is still to be slept
    }
}

double CSystem::GetTime() {
    timeval now{};
    (void)::gettimeofday(&now, nullptr);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_usec) * 1e-6;
}

}  // namespace KX
