# Reads what the benchmarks wrote as JSON, one value a line, and prints the table of ratios.

$1 == "\"name\":" { name = $2; gsub(/[",]/, "", name) }
$1 ~ /^"[A-Za-z\/]+":$/ && $2 ~ /^-?[0-9.]+e[-+][0-9]+,?$/ {
    key = $1
    gsub(/[":]/, "", key)
    value[name, key] = $2 + 0
    names[name]
}

# Geometric mean of a counter over the benchmarks that `pattern` picks at a level.
function Mean(pattern, level, key,    found, sum, count) {
    sub(/LEVEL/, "level:" level, pattern)
    for (found in names)
        if (found ~ pattern && (found, key) in value) {
            sum += log(value[found, key])
            count++
        }
    return count ? exp(sum / count) : 0
}

function Cell(pattern, level, key, limit,    mean) {
    mean = Mean(pattern, level, key)
    return mean ? sprintf("%.2f (%s)%s", mean, limit, mean > limit + 0 ? " !" : "") : "not here"
}

function Row(what, yardstick, pattern, key, avx512, avx2, generic) {
    printf "| %-40s | %-10s | %-13s | %-13s | %-13s |\n", what, yardstick, Cell(pattern, 5, key, avx512),
        Cell(pattern, 4, key, avx2), Cell(pattern, 0, key, generic)
}

# Cost per sample at size 16384 over that at 512, divided by how much more there is to do: the ratio of
# (size / hop) log2 size.
function Growth(level, filter, work, limit,    large, small) {
    large = Mean("^Stream/LEVEL/size:16384/filter:" filter "/rate:44100/signal:0", level, "ns/sample")
    small = Mean("^Stream/LEVEL/size:512/filter:" filter "/rate:44100/signal:0", level, "ns/sample")
    return large ? sprintf("%.2f (%s)%s", large / small / work, limit, large / small / work > limit + 0 ? " !" : "") : "not here"
}

function GrowthRow(what, filter, work, limit) {
    printf "| %-40s | %-10s | %-13s | %-13s | %-13s |\n", what, "our own", Growth(5, filter, work, limit),
        Growth(4, filter, work, limit), Growth(0, filter, work, limit)
}

END {
    print "Ours over the yardstick, and in brackets the most that it may be; ! where it is more."
    print ""
    printf "| %-40s | %-10s | %-13s | %-13s | %-13s |\n", "what", "yardstick", "AVX-512", "AVX2 + FMA", "generic"
    print "|---|---|---|---|---|"
    Row("stream, defaults", "speexdsp", "^Stream/LEVEL/size:512/filter:0/rate:44100/signal:0", "vsSpeex", 0.8, 1.1, 2.5)
    Row("stream, filter mode", "speexdsp", "^Stream/LEVEL/size:512/filter:1/rate:44100/signal:0", "vsSpeex", 1.2, 1.6, 3.5)
    Row("double transform, out of place, 64-16384", "FFTW", "^double/LEVEL/inPlace:0", "vsFFTW", "1.0", 1.15, 2.2)
    Row("double transform, in place", "FFTW", "^double/LEVEL/inPlace:1", "vsFFTW", 0.6, 0.7, 1.1)
    Row("float transform, out of place", "FFTW", "^float/LEVEL/inPlace:0", "vsFFTW", "1.0", 1.2, 2.5)
    Row("float transform, in place", "FFTW", "^float/LEVEL/inPlace:1", "vsFFTW", 0.6, 0.7, 1.2)
    Row("float transform, out of place", "KissFFT", "^float/LEVEL/inPlace:0", "vsKissFFT", "1.0", "1.0", "1.0")
    Row("slowest over median frame, size 512", "our own", "^Stream/LEVEL/size:512/filter:0/rate:44100/signal:0", "slowest", "4", "4", "5")
    Row("slowest over median frame, size 4096", "our own", "^Stream/LEVEL/size:4096/filter:0/rate:44100/signal:0", "slowest", "4", "4", "5")
    Row("modulation transforms, size 512", "FFTW", "^ModulationTransforms/LEVEL", "vsFFTW", 0.35, 0.5, 1.2)
    GrowthRow("growth from size 512 to 16384", 0, 20 * 14 / (4 * 9), 1.2)
    GrowthRow("growth, filter mode", 1, 16384 / 409 * 14 / (4 * 9), 1.2)
}
