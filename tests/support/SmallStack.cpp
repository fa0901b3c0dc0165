#include "support/SmallStack.h"

#include <gtest/gtest.h>
#include <pthread.h>

void RunOnStack(std::size_t size, std::function<void()> run) {
    const auto start = [](void* argument) -> void* {
        (*static_cast<std::function<void()>*>(argument))();
        return nullptr;
    };
    pthread_attr_t attributes;
    pthread_t thread{};
    ASSERT_EQ(::pthread_attr_init(&attributes), 0);
    ASSERT_EQ(::pthread_attr_setstacksize(&attributes, size), 0);
    ASSERT_EQ(::pthread_create(&thread, &attributes, start, &run), 0);
    ::pthread_join(thread, nullptr);
    ::pthread_attr_destroy(&attributes);
}
