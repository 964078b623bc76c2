/// \file
/// A picture in SVG, as text that is the same on every machine.
#pragma once

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>

namespace pictures
{

namespace ink
{
inline constexpr char const* line = "#1f5fa8";  ///< what was computed
inline constexpr char const* ideal = "#b8b8b8"; ///< what it is compared with, axes, ticks
inline constexpr char const* text = "#222222";
inline constexpr char const* underflow = "#7a2da0";
inline constexpr char const* wrap = "#c62f2f";
inline constexpr char const* saturation = "#d97a00";
inline constexpr char const* fill = "#e8f0fa";
} // namespace ink

/// At most two digits after the point, zeros at the end left out.
inline std::string number(double value)
{
    char text[32];
    std::snprintf(text, sizeof text, "%.2f", value);
    std::string result = text;
    result.erase(result.find_last_not_of('0') + 1);
    if (result.back() == '.') result.pop_back();
    return result == "-0" ? "0" : result;
}

/// Lengths in pixels, y downward.
class Picture
{
public:
    Picture(double width, double height)
    {
        text_ = "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"" + number(width) + "\" height=\"" +
                number(height) + "\" viewBox=\"0 0 " + number(width) + " " + number(height) +
                "\" font-family=\"DejaVu Sans, Verdana, sans-serif\" font-size=\"13\">\n";
        rectangle(0, 0, width, height, "white");
    }

    void line(double x1, double y1, double x2, double y2, char const* colour, double width = 1,
              char const* dashes = "")
    {
        add("line", attribute("x1", x1) + attribute("y1", y1) + attribute("x2", x2) + attribute("y2", y2) +
                        stroke(colour, width) +
                        (*dashes ? " stroke-dasharray=\"" + std::string(dashes) + "\"" : ""));
    }

    void arrow(double x1, double y1, double x2, double y2, char const* colour)
    {
        line(x1, y1, x2, y2, colour, 1.5);
        double const dx = x2 > x1 ? 7 : x2 < x1 ? -7 : 0, dy = y2 > y1 ? 7 : y2 < y1 ? -7 : 0;
        line(x2, y2, x2 - dx + dy * 0.5, y2 - dy + dx * 0.5, colour, 1.5);
        line(x2, y2, x2 - dx - dy * 0.5, y2 - dy - dx * 0.5, colour, 1.5);
    }

    void rectangle(double x, double y, double width, double height, char const* fill,
                   char const* edge = "none")
    {
        add("rect", attribute("x", x) + attribute("y", y) + attribute("width", width) +
                        attribute("height", height) + " fill=\"" + fill + "\" stroke=\"" + edge + "\"");
    }

    void dot(double x, double y, double radius, char const* colour)
    {
        add("circle",
            attribute("cx", x) + attribute("cy", y) + attribute("r", radius) + " fill=\"" + colour + "\"");
    }

    /// \param anchor start, middle or end of the words stands at x
    void words(double x, double y, std::string const& words, char const* anchor = "middle",
               char const* colour = ink::text, bool isBold = false, double size = 13)
    {
        text_ += "<text" + attribute("x", x) + attribute("y", y) + attribute("font-size", size) +
                 " text-anchor=\"" + anchor + "\" fill=\"" + colour + "\"" +
                 (isBold ? " font-weight=\"bold\"" : "") + ">" + words + "</text>\n";
    }

    void save(std::filesystem::path const& file) const
    {
        std::ofstream out(file);
        if (!(out << text_ << "</svg>\n").flush()) throw std::runtime_error("Cannot write " + file.string());
    }

private:
    static std::string attribute(char const* name, double value)
    {
        return std::string(" ") + name + "=\"" + number(value) + "\"";
    }
    static std::string stroke(char const* colour, double width)
    {
        return std::string(" stroke=\"") + colour + "\" stroke-width=\"" + number(width) +
               "\" stroke-linecap=\"round\"";
    }
    void add(char const* element, std::string const& attributes)
    {
        text_ += std::string("<") + element + attributes + "/>\n";
    }

    std::string text_;
};

} // namespace pictures
