# Draws cost per sample against FFT size, both scales logarithmic, as SVG from StreamBench's JSON.
# Usage: awk -f bench/plot.awk build/bench/StreamBench.json > docs/cost.svg

$1 == "\"name\":" { name = $2; gsub(/[",]/, "", name) }
$1 == "\"ns/sample\":" { cost[name] = $2 + 0; split(name, part, /[\/:]/); if (part[3] > best) best = part[3] }

function X(size) { return 70 + (log(size) / log(2) - 6) * 56 }
function Y(ns) { return 290 - (log(ns) - log(20)) / log(10) * 125 }
function Text(x, y, anchor, what) { printf "<text x=\"%.0f\" y=\"%.0f\" text-anchor=\"%s\">%s</text>\n", x, y, anchor, what }

function Curve(filter, colour, what,    size, key, points, last) {
    for (size = 64; size <= 16384; size *= 2) {
        key = "Stream/level:" best "/size:" size "/filter:" filter "/rate:44100/signal:0/iterations:1/manual_time"
        if (key in cost) {
            points = points sprintf("%.1f,%.1f ", X(size), Y(cost[key]))
            last = cost[key]
        }
    }
    printf "<polyline points=\"%s\" fill=\"none\" stroke=\"%s\" stroke-width=\"2\"/>\n", points, colour
    printf "<g fill=\"%s\">", colour
    Text(X(16384) + 8, Y(last) + 4, "start", what)
    print "</g>"
}

END {
    print "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"680\" height=\"350\" font-family=\"sans-serif\" font-size=\"12\">"
    print "<rect width=\"680\" height=\"350\" fill=\"white\"/>"
    for (size = 64; size <= 16384; size *= 2) {
        printf "<line x1=\"%.0f\" y1=\"40\" x2=\"%.0f\" y2=\"290\" stroke=\"#ddd\"/>\n", X(size), X(size)
        Text(X(size), 306, "middle", size)
    }
    split("20 50 100 200 500 1000 2000", mark, " ")
    for (i = 1; i <= 7; ++i) {
        printf "<line x1=\"70\" y1=\"%.0f\" x2=\"518\" y2=\"%.0f\" stroke=\"#ddd\"/>\n", Y(mark[i]), Y(mark[i])
        Text(64, Y(mark[i]) + 4, "end", mark[i])
    }
    Text(294, 330, "middle", "FFT size (samples)")
    Text(70, 24, "start", "Processor time per sample (ns) at 44.1 kHz, noise with speech")
    Curve(0, "#1f77b4", "gains")
    Curve(1, "#d62728", "filter mode")
    print "</svg>"
}
