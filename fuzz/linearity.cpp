// SPDX-License-Identifier: Apache-2.0
// Times one fuzz target on inputs of 64 KB, 256 KB and 1 MB built from its dictionary's
// labels and its seeds (many records, repeated labels, one long line, long blank runs),
// and fails when four times the input takes clearly more than four times as long.
//
//   linearity_<target> DICTIONARY [SEED...]
#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size);

namespace {

constexpr size_t Sizes[] = {64 * 1024, 256 * 1024, 1024 * 1024};
constexpr int Runs = 3;
// A step that looks too slow is measured this many times before it counts.
constexpr int Attempts = 3;
// Four times the input may take up to eight times as long, plus this much for noise.
constexpr double AllowedGrowth = 8.0;
constexpr double SlackSeconds = 0.010;
// Past this a larger size is not tried: the smaller one already shows the fault.
constexpr double HopelessSeconds = 10.0;
// A run this long is not repeated: noise is small beside it.
constexpr double LongRunSeconds = 0.5;

struct Shape
{
    std::string name;
    std::string unit; // repeated up to the size
    std::string head; // written once before the units
};

std::string readFile(const char *path)
{
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

int hexDigit(char c)
{
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    if (c >= 'A' && c <= 'F')
        return c - 'A' + 10;
    return 0;
}

// The quoted value of a libFuzzer dictionary line, escapes resolved.
std::string unquote(const std::string &line)
{
    const size_t open = line.find('"');
    const size_t close = line.rfind('"');
    std::string value;
    for (size_t i = open + 1; i < close; ++i) {
        if (line[i] != '\\' || i + 1 >= close) {
            value += line[i];
        } else if (line[i + 1] == 'x' && i + 3 < close) {
            value += static_cast<char>(hexDigit(line[i + 2]) * 16 + hexDigit(line[i + 3]));
            i += 3;
        } else {
            value += line[++i];
        }
    }
    return value;
}

std::vector<std::string> dictionaryLabels(const char *path)
{
    std::vector<std::string> labels;
    std::ifstream in(path);
    for (std::string line; std::getline(in, line);) {
        if (line.empty() || line[0] == '#' || line.find('"') == std::string::npos)
            continue;
        const std::string label = unquote(line);
        if (!label.empty())
            labels.push_back(label);
    }
    return labels;
}

std::vector<Shape> shapes(const std::vector<std::string> &labels,
                          const std::vector<std::string> &seeds)
{
    std::vector<Shape> all;
    for (const std::string &label : labels) {
        all.push_back({"lines of '" + label + "'", label + " a\n", ""});
        all.push_back({"repeated '" + label + "'", label, ""});
        all.push_back({"'" + label + "' and a long line", "a", label + " "});
        all.push_back({"'" + label + "' and long blanks", " ", label});
    }
    for (size_t i = 0; i < seeds.size(); ++i) {
        if (seeds[i].empty())
            continue;
        std::string flat = seeds[i];
        std::replace(flat.begin(), flat.end(), '\n', ' ');
        all.push_back({"records of seed " + std::to_string(i), seeds[i], ""});
        all.push_back({"seed " + std::to_string(i) + " on one line", flat, ""});
    }
    return all;
}

std::string build(const Shape &shape, size_t size)
{
    std::string text = shape.head;
    while (text.size() + shape.unit.size() <= size)
        text += shape.unit;
    return text;
}

double bestSeconds(const std::string &input)
{
    double best = 1e9;
    for (int run = 0; run < Runs; ++run) {
        const auto start = std::chrono::steady_clock::now();
        LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t *>(input.data()), input.size());
        const std::chrono::duration<double> took = std::chrono::steady_clock::now() - start;
        best = std::min(best, took.count());
        if (best > LongRunSeconds)
            break;
    }
    return best;
}

// Whether the larger input took clearly more than linear time; asked again on a yes, as
// a busy machine can slow one measurement down.
bool outgrows(const std::string &smaller, double *smallSeconds, const std::string &larger,
              double *largeSeconds)
{
    for (int attempt = 0; attempt < Attempts; ++attempt) {
        if (attempt > 0) {
            *smallSeconds = bestSeconds(smaller);
            *largeSeconds = bestSeconds(larger);
        }
        if (*largeSeconds <= AllowedGrowth * *smallSeconds + SlackSeconds ||
            *largeSeconds > HopelessSeconds)
            return *largeSeconds > HopelessSeconds;
    }
    return true;
}

// False, with a line on stderr, when the shape grows faster than linearly.
bool grows(const Shape &shape, double *worstRatio)
{
    std::string previous;
    double previousSeconds = 0;
    for (size_t size : Sizes) {
        std::string input = build(shape, size);
        double seconds = bestSeconds(input);
        if (!previous.empty() && outgrows(previous, &previousSeconds, input, &seconds)) {
            std::fprintf(stderr, "NOT LINEAR: %s: %zu KB took %.4f s, a quarter of it %.4f s\n",
                         shape.name.c_str(), size / 1024, seconds, previousSeconds);
            return false;
        }
        if (!previous.empty())
            *worstRatio = std::max(*worstRatio, seconds / std::max(previousSeconds, 1e-6));
        if (seconds > HopelessSeconds) {
            std::fprintf(stderr, "TOO SLOW: %s: %zu KB took %.4f s\n", shape.name.c_str(),
                         size / 1024, seconds);
            return false;
        }
        previous = std::move(input);
        previousSeconds = seconds;
    }
    return true;
}

} // namespace

int main(int argc, char **argv)
{
    if (argc < 2) {
        std::fprintf(stderr, "usage: %s DICTIONARY [SEED...]\n", argv[0]);
        return 2;
    }
    std::vector<std::string> seeds;
    for (int i = 2; i < argc; ++i)
        seeds.push_back(readFile(argv[i]));
    const std::vector<Shape> all = shapes(dictionaryLabels(argv[1]), seeds);
    int failures = 0;
    double worstRatio = 0;
    for (const Shape &shape : all)
        failures += grows(shape, &worstRatio) ? 0 : 1;
    std::printf("%s: %zu shapes, %d not linear, largest step ratio %.1f\n", argv[0], all.size(),
                failures, worstRatio);
    return failures == 0 ? 0 : 1;
}
