// SPDX-License-Identifier: MIT
#include "tools/command/FormatList.h"

#include <vector>

#include "tools/command/JsonWriter.h"
#include "tools/sound/SoundFormat.h"

namespace quietfloor {
namespace {

std::vector<std::string> WritableFormats(int container) {
    std::vector<std::string> names;
    for (const std::string &name : SampleFormatNames())
        if (CanWrite(container, FindSampleFormat(name)))
            names.push_back(name);
    return names;
}

std::string Line(const std::string &container, const std::vector<std::string> &formats) {
    std::string line = container;
    for (const std::string &format : formats)
        line += ' ' + format;
    return line + '\n';
}

JsonObject AsJson(const std::string &container, const std::vector<std::string> &formats) {
    std::string quoted;
    for (const std::string &format : formats)
        quoted += (quoted.empty() ? "" : ", ") + JsonText(format);
    JsonObject object;
    object.Add("container", container);
    object.AddToken("subtypes", '[' + quoted + ']');
    return object;
}

} // namespace

std::string FormatList(bool isJson) {
    JsonArray array;
    std::string text;
    for (const std::string &name : ContainerNames()) {
        const int container = FindContainer(name);
        if (!CanWrite(container, 0))
            continue;
        const std::vector<std::string> formats = WritableFormats(container);
        text += Line(name, formats);
        array.Add(AsJson(name, formats));
    }
    return isJson ? array.Text() : text;
}

} // namespace quietfloor
