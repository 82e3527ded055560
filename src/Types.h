#ifndef QUARNEL_TYPES_H
#define QUARNEL_TYPES_H

/// @file
/// The enumerations and records that several classes share.

/// Enumerations and records that several classes of the library share.
///
/// The enumerations have the fixed underlying type `int`: a number that comes from a file or a
/// caller is always a value of the type, even where it names none of the enumerators.
namespace Types {

/// Where a representation keeps its eligibility traces.
enum TRACE_STORAGE : int {
  MAP = 0,   ///< Sparse: an ordered map from weight index to trace.
  ARRAY = 1  ///< Dense: one trace per weight, in an array parallel to the weights.
};

/// How a tiled variable treats values at the ends of its range.
enum TILE_TYPE : int {
  CIRCLE = 0,  ///< The range is a circle: a value beyond one end comes in again at the other.
  CLIP = 1,    ///< Values above count as the last tile; what a shift brings below has no tile.
  WRAP = 2     ///< The range gets one more tile, which takes the shifted top of the range.
};

// The record is stored as it lies in memory, 16 bytes a variable, so it must not be padded.
#pragma pack(push, 4)
/// One variable that a group of tilings covers.
struct TILINGS_VAR_STRUCT {
  unsigned int id;     ///< Id of the state variable.
  double resolution;   ///< Shift between two tilings, in units of the variable.
  TILE_TYPE tileType;  ///< What happens at the ends of the range.
};
#pragma pack(pop)

static_assert(sizeof(TILINGS_VAR_STRUCT) == 16, "value-function files hold 16 bytes a variable");

}  // namespace Types

#endif
