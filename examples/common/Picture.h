#ifndef QUARNEL_EXAMPLES_PICTURE_H
#define QUARNEL_EXAMPLES_PICTURE_H

#include <string>
#include <vector>

/// Pictures for a terminal, in UTF-8 block characters, a string for every line.
namespace Picture {

/// Draws a curve of numbers above 0 on a logarithmic scale, with its lowest and highest mark at the
/// left. Where there are more numbers than columns, a column stands for the mean of several.
///
/// @param numbers none gives no lines.
/// @param columns the width of the curve, at least 1.
/// @param rows its height, at least 1.
std::vector<std::string> drawCurve(const std::vector<double>& numbers, int columns, int rows);

/// Shades a field of numbers, two characters for each: the higher the fuller.
///
/// @param field lines of numbers, the top line first; none gives no lines.
std::vector<std::string> drawField(const std::vector<std::vector<double>>& field);

/// Prints lines on standard output, indented like the other pictures of the examples.
void print(const std::vector<std::string>& lines);

}  // namespace Picture

#endif
