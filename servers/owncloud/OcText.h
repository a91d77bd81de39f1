#pragma once
// Texts as the ownCloud front-end (PHP) reads and writes them: query and form fields, URL escapes,
// HTML escapes, JSON, human-readable sizes, and the paths of its files.
#include <cstdint>
#include <map>
#include <string>
#include <string_view>

#include <nlohmann/json.hpp>

namespace fake_owncloud {

// Keys keep their insertion order: PHP arrays do, and clients search some answers for adjacent keys.
using json = nlohmann::ordered_json;

// "%XX" escapes decoded, and "+" read as a blank where plusIsBlank.
std::string percentDecode(std::string_view text, bool plusIsBlank);
// "a=1&b=x%20y" as PHP fills $_GET or $_POST.
std::map<std::string, std::string> parseFields(std::string_view text);
// PHP's rawurlencode: everything but letters, digits and "-_.~" escaped; "/" too unless kept.
std::string rawUrlEncode(std::string_view text, bool keepSlash);
// PHP's htmlspecialchars with ENT_QUOTES.
std::string html(std::string_view text);
// PHP's json_encode: "/" written as "\/", and every character beyond ASCII as a \u escape.
std::string phpJson(const json& value);
std::string lowerCase(std::string_view text);
// PHP's (int) cast of a text: its leading whole number, 0 when there is none.
std::int64_t phpInt(std::string_view text);

// Sizes as the server's pages show them: binary units, each step dividing the amount rounded to one
// decimal, a whole amount without its ".0": "512 B", "1.5 kB", "2 GB".
std::string humanSize(std::int64_t bytes);

// Paths of the user's files: "/" is the root, "/a/b" a folder or file in "/a".
std::string parentOf(const std::string& path);
std::string nameOf(const std::string& path);
std::string join(const std::string& folder, const std::string& name);
// The MIME type that the server gives a file name by its extension.
std::string mimeFor(const std::string& name);

// Seconds since 1970.
std::int64_t now();

}  // namespace fake_owncloud
