/// \file
/// Recordings in memory and in files.
#pragma once

#include <sndfile.hh>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <limits>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include <unistd.h>

namespace example
{

/// Full scale of the file is -1 to 1. Several channels stand interleaved.
struct Sound {
    std::vector<double> samples;
    int channels = 1;
    int rate = 48000; ///< frames per second
};

/// A recording that Debian's package alsa-utils installs: a voice, one channel, 16 bits at 48 kHz.
inline char const* const defaultRecording = "/usr/share/sounds/alsa/Front_Center.wav";

/// Reads whatever libsndfile can: WAV, FLAC, OGG and others. Throws std::runtime_error with a text that names
/// the file if there is none, it is no sound, or it has no samples or a sample that is not finite.
inline Sound readSound(std::filesystem::path const& file)
{
    auto const need = [&](bool good, std::string const& trouble) {
        if (!good) throw std::runtime_error("cannot read " + file.string() + ": " + trouble);
    };
    bool const readable = access(file.c_str(), R_OK) == 0;
    need(readable, std::strerror(errno));
    need(!std::filesystem::is_directory(file), std::strerror(EISDIR));
    SndfileHandle handle(file.string());
    need(handle.error() == SF_ERR_NO_ERROR, handle.strError());

    // Read until the end: the count of frames in a header need not be true.
    Sound sound{{}, handle.channels(), handle.samplerate()};
    std::vector<double> block(static_cast<std::size_t>(sound.channels) * 65536);
    while (sf_count_t const got = handle.read(block.data(), static_cast<sf_count_t>(block.size())))
        sound.samples.insert(sound.samples.end(), block.data(), block.data() + got);
    need(handle.error() == SF_ERR_NO_ERROR, handle.strError());
    need(!sound.samples.empty(), "it holds no samples");
    need(std::all_of(sound.samples.begin(), sound.samples.end(), [](double x) { return std::isfinite(x); }),
         "it holds a sample that is not finite");
    return sound;
}

/// Applies the gain, or if there is none the one that brings anything but silence to a peak of `peak`.
/// Answers the gain. Throws std::runtime_error if it is out of range.
inline double amplify(std::vector<double>& samples, std::optional<double> gain, double peak)
{
    double largest = 0;
    for (double const sample : samples) largest = std::max(largest, std::abs(sample));
    double const factor = gain.value_or(largest > 1e-9 ? peak / largest : 1);
    if (!(factor > 0 && largest * factor < 1e100)) throw std::runtime_error("the gain is out of range");
    for (double& sample : samples) sample *= factor;
    return factor;
}

/// Writes a WAV file of 32-bit floats, or of 64-bit ones where samples of `bits` bits would not survive in
/// those. Equal sounds give equal files. Throws std::runtime_error.
inline void writeSound(std::filesystem::path const& file, Sound const& sound, int bits)
{
    int const format = bits <= std::numeric_limits<float>::digits + 1 ? SF_FORMAT_FLOAT : SF_FORMAT_DOUBLE;
    SndfileHandle handle(file.string(), SFM_WRITE, SF_FORMAT_WAV | format, sound.channels, sound.rate);
    handle.command(SFC_SET_ADD_PEAK_CHUNK, nullptr, SF_FALSE); // it would hold the time of day
    auto const size = static_cast<sf_count_t>(sound.samples.size());
    if (handle.write(sound.samples.data(), size) != size)
        throw std::runtime_error("cannot write " + file.string() + ": " + handle.strError());
}

} // namespace example
