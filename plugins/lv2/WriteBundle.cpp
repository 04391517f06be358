// SPDX-License-Identifier: MIT
// Writes the description of the LV2 plug-ins from the tables of parameters and presets.
// Usage: <program> <folder> <file name of the plug-ins' binary>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <string>

#include "base/Export.h"
#include "dsp/Presets.h"
#include "plugins/Controls.h"
#include "plugins/ReducerGroup.h"
#include "plugins/lv2/PortLayout.h"

namespace {

using namespace quietfloor;

constexpr const char *prefixes = R"(@prefix doap: <http://usefulinc.com/ns/doap#> .
@prefix foaf: <http://xmlns.com/foaf/0.1/> .
@prefix lv2: <http://lv2plug.in/ns/lv2core#> .
@prefix pg: <http://lv2plug.in/ns/ext/port-groups#> .
@prefix pprops: <http://lv2plug.in/ns/ext/port-props#> .
@prefix pset: <http://lv2plug.in/ns/ext/presets#> .
@prefix rdf: <http://www.w3.org/1999/02/22-rdf-syntax-ns#> .
@prefix rdfs: <http://www.w3.org/2000/01/rdf-schema#> .
@prefix units: <http://lv2plug.in/ns/extensions/units#> .
@prefix work: <http://lv2plug.in/ns/ext/worker#> .
)";

std::string Quoted(const std::string &text) {
    std::string quoted = "\"";
    for (const char c : text) {
        if (c == '"' || c == '\\')
            quoted += '\\';
        quoted += c;
    }
    return quoted + '"';
}

std::string UnitOf(const std::string &unit) {
    for (const auto &[name, term] :
         {std::pair{"dB", "db"}, {"Hz", "hz"}, {"ms", "ms"}, {"%", "pc"}, {"samples", "frame"}})
        if (unit == name)
            return std::string("        units:unit units:") + term + " ;\n";
    return {};
}

std::string GroupOf(const PluginKind &kind, bool isInput) {
    return std::string("<") + kind.uri + (isInput ? ":input>" : ":output>");
}

// What every port begins with.
void OpenPort(std::ostream &out, int index, const char *types, const std::string &symbol,
              const std::string &name) {
    out << (index == 0 ? "    lv2:port [\n" : "    ] , [\n") << "        a " << types << " ;\n"
        << "        lv2:index " << index << " ;\n"
        << "        lv2:symbol " << Quoted(symbol) << " ;\n"
        << "        lv2:name " << Quoted(name) << " ;\n";
}

void WriteAudioPort(std::ostream &out, const PluginKind &kind, bool isInput, int channel) {
    const PortLayout layout{kind.channels};
    std::string symbol = isInput ? "in" : "out", name = isInput ? "Input" : "Output";
    if (kind.channels == 2) {
        symbol += channel == 0 ? "_left" : "_right";
        name += channel == 0 ? " left" : " right";
    }
    OpenPort(out, isInput ? layout.Input(channel) : layout.Output(channel),
             isInput ? "lv2:AudioPort , lv2:InputPort" : "lv2:AudioPort , lv2:OutputPort", symbol, name);
    if (kind.channels == 2)
        out << "        pg:group " << GroupOf(kind, isInput) << " ;\n"
            << "        lv2:designation pg:" << (channel == 0 ? "left" : "right") << " ;\n";
}

void WriteFixedControls(std::ostream &out, const PortLayout &layout) {
    OpenPort(out, layout.Latency(), "lv2:ControlPort , lv2:OutputPort", "latency", "Latency");
    out << "        lv2:designation lv2:latency ;\n"
           "        lv2:portProperty lv2:reportsLatency , lv2:integer ;\n"
           "        lv2:minimum 0 ;\n        lv2:maximum 16384 ;\n"
        << UnitOf("samples");
    OpenPort(out, layout.Enabled(), "lv2:ControlPort , lv2:InputPort", "enabled", "Enabled");
    out << "        lv2:designation lv2:enabled ;\n        lv2:portProperty lv2:toggled ;\n"
           "        lv2:default 1 ;\n        lv2:minimum 0 ;\n        lv2:maximum 1 ;\n";
}

void WriteControl(std::ostream &out, const Control &control, int index) {
    OpenPort(out, index, "lv2:ControlPort , lv2:InputPort", control.symbol, control.title);
    out << "        rdfs:comment " << Quoted(control.description) << " ;\n"
        << "        lv2:default " << control.defaultValue << " ;\n"
        << "        lv2:minimum " << control.lowest << " ;\n        lv2:maximum " << control.highest << " ;\n"
        << UnitOf(control.unit);
    if (!control.choices.empty())
        out << "        lv2:portProperty lv2:integer , lv2:enumeration ;\n";
    else if (control.isLogarithmic)
        out << "        lv2:portProperty pprops:logarithmic ;\n";
    if (TakesRebuild(control.place))
        out << "        lv2:portProperty pprops:expensive ;\n";
    for (const Choice &choice : control.choices)
        out << "        lv2:scalePoint [ rdfs:label " << Quoted(choice.label) << " ; rdf:value "
            << choice.value << " ] ;\n";
}

void WriteLink(std::ostream &out, int index) {
    OpenPort(out, index, "lv2:ControlPort , lv2:InputPort", "link", "Link channels");
    out << "        rdfs:comment \"The same gains for both channels, so that the noise that is left keeps "
           "its "
           "place.\" ;\n"
           "        lv2:portProperty lv2:toggled ;\n"
           "        lv2:default 1 ;\n        lv2:minimum 0 ;\n        lv2:maximum 1 ;\n";
}

void WriteGroups(std::ostream &out, const PluginKind &kind) {
    for (const bool isInput : {true, false})
        out << '\n'
            << GroupOf(kind, isInput) << "\n    a pg:StereoGroup , "
            << (isInput ? "pg:InputGroup" : "pg:OutputGroup") << " ;\n    lv2:symbol "
            << (isInput ? "\"input\"" : "\"output\"") << " ;\n    lv2:name "
            << (isInput ? "\"Input\"" : "\"Output\"") << " .\n";
}

void WritePlugin(std::ostream &out, const PluginKind &kind) {
    if (kind.channels == 2)
        WriteGroups(out, kind);
    // Even numbers are releases, as the format asks.
    out << "\n<" << kind.uri << ">\n    a lv2:Plugin , lv2:SpectralPlugin , doap:Project ;\n"
        << "    doap:name " << Quoted(kind.name) << " ;\n"
        << "    doap:maintainer [ a foaf:Group ; foaf:name \"The quietfloor authors\" ;\n"
        << "                       foaf:mbox <mailto:quietfloor@example.org> ] ;\n"
        << "    doap:license <https://opensource.org/licenses/MIT> ;\n"
        << "    rdfs:comment \"Takes steady background noise out of sound; learns it by itself.\" ;\n"
        << "    lv2:minorVersion " << 2 * (100 * QUIETFLOOR_VERSION_MAJOR + QUIETFLOOR_VERSION_MINOR)
        << " ;\n"
        << "    lv2:microVersion " << 2 * QUIETFLOOR_VERSION_PATCH << " ;\n"
        << "    lv2:optionalFeature lv2:hardRTCapable , work:schedule ;\n"
        << "    lv2:extensionData work:interface ;\n";
    if (kind.channels == 2)
        out << "    pg:mainInput " << GroupOf(kind, true) << " ;\n    pg:mainOutput " << GroupOf(kind, false)
            << " ;\n";
    for (const bool isInput : {true, false})
        for (int channel = 0; channel < kind.channels; ++channel)
            WriteAudioPort(out, kind, isInput, channel);
    const PortLayout layout{kind.channels};
    WriteFixedControls(out, layout);
    int position = 0;
    for (const Control &control : Controls())
        WriteControl(out, control, layout.Control(position++));
    if (kind.channels == 2)
        WriteLink(out, layout.Control(position));
    out << "    ] .\n";
}

std::string UriOf(const PluginKind &kind, const Preset &preset) {
    return std::string("<") + kind.uri + ":preset:" + preset.name + ">";
}

void WritePreset(std::ostream &out, const PluginKind &kind, const Preset &preset) {
    out << '\n'
        << UriOf(kind, preset) << "\n    a pset:Preset ;\n    lv2:appliesTo <" << kind.uri << "> ;\n"
        << "    rdfs:label " << Quoted(TitleOf(preset.name)) << " ;\n"
        << "    rdfs:comment " << Quoted(preset.description) << " ;\n";
    const char *separator = "    lv2:port ";
    for (const Control &control : Controls()) {
        out << separator << "[ lv2:symbol " << Quoted(control.symbol) << " ; pset:value "
            << ValueIn(preset, control) << " ]";
        separator = " ,\n        ";
    }
    out << " .\n";
}

void WriteManifest(std::ostream &out, const std::string &binary) {
    for (const PluginKind &kind : pluginKinds) {
        out << "\n<" << kind.uri << ">\n    a lv2:Plugin ;\n    lv2:binary <" << binary
            << "> ;\n    rdfs:seeAlso <plugins.ttl> .\n";
        for (const Preset &preset : Presets())
            out << '\n'
                << UriOf(kind, preset) << "\n    a pset:Preset ;\n    lv2:appliesTo <" << kind.uri
                << "> ;\n    rdfs:seeAlso <presets.ttl> .\n";
    }
}

template <class Write>
void WriteFile(const std::filesystem::path &path, Write write) {
    std::ofstream out(path, std::ios::binary);
    out.exceptions(std::ios::failbit | std::ios::badbit);
    out << prefixes;
    write(out);
    out.close();
}

} // namespace

int main(int argc, char **argv) {
    if (argc != 3) {
        std::cerr << "usage: " << argv[0] << " <folder> <file name of the plug-ins' binary>\n";
        return EXIT_FAILURE;
    }
    try {
        const std::filesystem::path folder = argv[1];
        WriteFile(folder / "manifest.ttl", [&](std::ostream &out) { WriteManifest(out, argv[2]); });
        WriteFile(folder / "plugins.ttl", [](std::ostream &out) {
            for (const PluginKind &kind : pluginKinds)
                WritePlugin(out, kind);
        });
        WriteFile(folder / "presets.ttl", [](std::ostream &out) {
            for (const PluginKind &kind : pluginKinds)
                for (const Preset &preset : Presets())
                    WritePreset(out, kind, preset);
        });
    } catch (const std::exception &error) {
        std::cerr << argv[0] << ": " << error.what() << '\n';
        return EXIT_FAILURE;
    }
    return EXIT_SUCCESS;
}
