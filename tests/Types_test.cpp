#include <gtest/gtest.h>
#include <quarnel/Types.h>

#include <cstddef>
#include <type_traits>

#include "support/Files.h"

TEST(Types, TraceStoragesHaveTheNumbersThatFilesHold) {
  EXPECT_EQ(static_cast<int>(Types::MAP), 0);
  EXPECT_EQ(static_cast<int>(Types::ARRAY), 1);
}

TEST(Types, TileTypesHaveTheNumbersThatFilesHold) {
  EXPECT_EQ(static_cast<int>(Types::CIRCLE), 0);
  EXPECT_EQ(static_cast<int>(Types::CLIP), 1);
  EXPECT_EQ(static_cast<int>(Types::WRAP), 2);
}

TEST(Types, EnumerationsAreStoredAsInts) {
  EXPECT_TRUE((std::is_same_v<std::underlying_type_t<Types::TRACE_STORAGE>, int>));
  EXPECT_TRUE((std::is_same_v<std::underlying_type_t<Types::TILE_TYPE>, int>));
  EXPECT_EQ(sizeof(Types::TRACE_STORAGE), 4u);
  EXPECT_EQ(sizeof(Types::TILE_TYPE), 4u);
}

TEST(Types, EnumerationsKeepNumbersWithoutAName) {
  for (const int number : {-2147483647 - 1, -1, 3, 7, 2147483647}) {
    EXPECT_EQ(static_cast<int>(static_cast<Types::TRACE_STORAGE>(number)), number);
    EXPECT_EQ(static_cast<int>(static_cast<Types::TILE_TYPE>(number)), number);
  }
}

TEST(Types, EnumeratorsNeedNoCast) {
  const int storage = Types::ARRAY;
  const int tileType = Types::WRAP;
  EXPECT_EQ(storage, 1);
  EXPECT_EQ(tileType, 2);
}

TEST(TilingsVarStruct, Has16BytesWithoutPadding) {
  EXPECT_EQ(sizeof(Types::TILINGS_VAR_STRUCT), 16u);
  EXPECT_EQ(offsetof(Types::TILINGS_VAR_STRUCT, id), 0u);
  EXPECT_EQ(offsetof(Types::TILINGS_VAR_STRUCT, resolution), 4u);
  EXPECT_EQ(offsetof(Types::TILINGS_VAR_STRUCT, tileType), 12u);
}

TEST(TilingsVarStruct, HoldsIdResolutionAndTileType) {
  using Record = Types::TILINGS_VAR_STRUCT;
  EXPECT_TRUE((std::is_same_v<decltype(Record::id), unsigned int>));
  EXPECT_TRUE((std::is_same_v<decltype(Record::resolution), double>));
  EXPECT_TRUE((std::is_same_v<decltype(Record::tileType), Types::TILE_TYPE>));
}

TEST(TilingsVarStruct, LiesInMemoryAsInAFile) {
  const Types::TILINGS_VAR_STRUCT record = {4294967295u, 0.25, Types::WRAP};
  // 0.25 is 0x3FD0000000000000.
  const char expected[] = "\xFF\xFF\xFF\xFF\0\0\0\0\0\0\xD0\x3F\x02\0\0";
  EXPECT_EQ(bytes(record), std::string(expected, sizeof(expected)));
}

TEST(TilingsVarStruct, FollowsOnItselfInAnArray) {
  const Types::TILINGS_VAR_STRUCT records[2] = {{1u, 0.5, Types::CIRCLE}, {2u, 2.0, Types::CLIP}};
  EXPECT_EQ(bytes(records[0]) + bytes(records[1]),
            std::string(reinterpret_cast<const char*>(records), 32));
}
