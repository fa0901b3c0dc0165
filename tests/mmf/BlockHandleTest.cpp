#include "mmf/BlockHandle.h"

#include <gtest/gtest.h>

namespace {

TEST(BlockHandleTest, EveryFieldComesBackAtItsExtremes) {
    for (const unsigned int store : {0U, 1U, 2U, 3U}) {
        for (const unsigned int object : {0U, 1U, 0x3FFDU, 0x3FFEU}) {
            for (const unsigned int block : {0U, 1U, 1023U, 0xFFFEU}) {
                const unsigned int handle = BlockHandle::WithStore(BlockHandle::Make(object, block), store);
                EXPECT_EQ(BlockHandle::StoreOf(handle), store);
                EXPECT_EQ(BlockHandle::ObjectOf(handle), object);
                EXPECT_EQ(BlockHandle::BlockOf(handle), block);
            }
        }
    }
    EXPECT_EQ(BlockHandle::Make(0, 0), 0x00010001U);
    EXPECT_EQ(BlockHandle::WithStore(BlockHandle::Make(0x3FFE, 0xFFFE), 3), 0xFFFFFFFFU);
    EXPECT_EQ(BlockHandle::ObjectOf(0), 0xFFFFFFFFU);
    EXPECT_EQ(BlockHandle::BlockOf(0), 0xFFFFFFFFU);
}

}  // namespace
