#ifndef QUARNEL_EXAMPLES_GNUPLOT_H
#define QUARNEL_EXAMPLES_GNUPLOT_H

#include <string>

/// Draws pictures in files by the program gnuplot, which need not be there.
namespace Gnuplot {

/// Checks, before there is anything to draw, that drawing may succeed.
///
/// @param file its name has to end in .png or .svg.
/// @return what stands against it; empty where nothing does.
std::string findObstacle(const std::string& file);

/// Draws a file, which is created or replaced.
///
/// @param commands what gnuplot is to do, with all its data.
/// @return what has gone wrong; empty where the file is written.
std::string draw(const std::string& file, const std::string& commands);

}  // namespace Gnuplot

#endif
