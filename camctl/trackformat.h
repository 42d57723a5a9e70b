#pragma once

#include <gst/gst.h>

#include <string>

namespace camctl {

/// Whether this machine has the element of GStreamer.
bool HasElement(const char* name);

// `structure` is the first one of a track's caps, as the description of the stream makes them.

/// A text of a description, made fit to be shown; empty where there is none.
std::string TextField(const GstStructure* structure, const char* field);

/// Name of the track's encoding, also where its payload type alone tells it; empty when nothing does.
std::string EncodingOf(const GstStructure* structure);

/// Samples per second of a track of sound; 0 when they are not told.
int SampleRateOf(const GstStructure* structure);

/// The codec of pictures or of sound, as the camera's media service names it; that of an unknown encoding is its name.
std::string VideoName(const std::string& encoding);
std::string AudioName(const std::string& encoding);

/// The elements that decode pictures of the encoding, each with " ! " behind it; empty when this machine has none.
std::string DecodingOf(const std::string& encoding);

}  // namespace camctl
