#include "Documents.h"

#include <cstdint>
#include <random>

namespace zq::bench {

namespace {

class Writer {
public:
    Writer& Line(size_t indent) {
        m_text += '\n';
        m_text.append(indent * 4, ' ');
        return *this;
    }
    Writer& operator<<(const std::string& text) {
        m_text += text;
        return *this;
    }
    // Takes the last comma back.
    void EndList() { m_text.pop_back(); }
    size_t Size() const { return m_text.size(); }
    std::string Take() { return std::move(m_text); }

private:
    std::string m_text;
};

std::string Number(uint64_t value) { return std::to_string(value); }

} // namespace

std::string MakeSettings(size_t bytes) {
    static const char* const kNames[] = {"Bitrate",         "RefreshRate", "Sharpening", "Dashboard",
                                         "ResolutionScale", "Codec",       "Foveation",  "Latency",
                                         "Passthrough",     "ColorProfile"};
    std::mt19937_64 random(1);
    std::string text = "{";
    size_t count = 0;
    const auto addMembers = [&](const char* indent) {
        for (const char* name : kNames) {
            text.append(indent) += '"' + std::string(name) + std::to_string(count++ % 7) + "\": ";
            switch (random() % 5) {
            case 0:
            case 1:
                text += std::to_string(random() % 5000);
                break;
            case 2:
                text += std::to_string(static_cast<double>(random() % 10000) / 100).substr(0, 5) + "5";
                break;
            case 3:
                text += random() % 2 == 0 ? "true" : "false";
                break;
            default:
                text += "\"value " + std::to_string(random() % 100000) + " of a text\"";
            }
            text += ",\n";
        }
        text.resize(text.size() - 2);
    };
    for (size_t group = 0; text.size() < bytes / 2; ++group) {
        text += "\n  \"Group" + std::to_string(group) + "\": {\n";
        addMembers("    ");
        text += "\n  },";
    }
    text += "\n  \"CL\": [";
    for (size_t device = 0; device == 0 || text.size() < bytes - 400; ++device) {
        text += "\n    {\n      \"HD\": \"DEVICE" + std::to_string(device) + "\",\n";
        addMembers("      ");
        text += "\n    },";
    }
    text.pop_back();
    return text + "\n  ]\n}";
}

std::string MakeCoordinates(size_t bytes) {
    std::mt19937_64 random(2);
    const auto degrees = [&random](uint64_t whole) {
        return Number(random() % whole) + '.' + Number(100'000 + random() % 900'000) +
               Number(100'000'000 + random() % 900'000'000);
    };
    Writer out;
    out << R"({"type":"FeatureCollection","features":[{"type":"Feature","properties":{"name":"Land"},"geometry":{"type":"Polygon","coordinates":[)";
    while (out.Size() < bytes) {
        out << "[";
        for (int point = 0; point < 100; ++point) {
            out << "[-" << degrees(180) << "," << degrees(90) << "],";
        }
        out.EndList();
        out << "],";
    }
    out.EndList();
    out << "]}}]}";
    return out.Take();
}

std::string MakeFeed(size_t bytes) {
    static const char* const kWords[] = {
        "streaming",    "caf\xC3\xA9",    "\xE6\x97\xA5\xE6\x9C\xAC\xE8\xAA\x9E",
        "\\n",          "\\\"quoted\\\"", "http:\\/\\/t.co\\/ABCdef",
        "\xE2\x9C\xA8", "headset",        "the",
        "\\u3042"};
    std::mt19937_64 random(3);
    const auto text = [&random](int words) {
        std::string all = "\"";
        for (int i = 0; i < words; ++i) {
            all += std::string(kWords[random() % std::size(kWords)]) + ' ';
        }
        return all + '"';
    };
    Writer out;
    out << "{";
    out.Line(1) << "\"statuses\": [";
    while (out.Size() < bytes) {
        out.Line(2) << "{";
        out.Line(3) << "\"created_at\": \"Sun Aug 31 00:29:15 +0000 2014\",";
        out.Line(3) << "\"id\": " << Number(500'000'000'000'000'000 + random() % 1'000'000'000) << ",";
        out.Line(3) << "\"text\": " << text(16) << ",";
        out.Line(3) << "\"truncated\": false,";
        out.Line(3) << "\"in_reply_to_user_id\": null,";
        out.Line(3) << "\"user\": {";
        out.Line(4) << "\"id\": " << Number(random() % 3'000'000'000) << ",";
        out.Line(4) << "\"name\": " << text(2) << ",";
        out.Line(4) << "\"description\": " << text(24) << ",";
        out.Line(4) << "\"profile_image_url\": \"http:\\/\\/pbs.example.com\\/profile\\/" << Number(random())
                    << "_normal.jpeg\",";
        out.Line(4) << "\"followers_count\": " << Number(random() % 10'000);
        out.Line(3) << "},";
        out.Line(3) << "\"entities\": {\"hashtags\": [], \"urls\": [{\"indices\": [30, 52]}]},";
        out.Line(3) << "\"retweet_count\": " << Number(random() % 100) << ",";
        out.Line(3) << "\"lang\": \"ja\"";
        out.Line(2) << "},";
    }
    out.EndList();
    out.Line(1) << "],";
    out.Line(1) << "\"search_metadata\": {";
    out.Line(2) << "\"completed_in\": 0.087,";
    out.Line(2) << "\"count\": 100";
    out.Line(1) << "}";
    out << "\n}";
    return out.Take();
}

std::string MakeCatalogue(size_t bytes) {
    std::mt19937_64 random(4);
    uint64_t id = 205'705'993;
    Writer out;
    out << "{";
    out.Line(1) << "\"areaNames\": {";
    while (out.Size() < bytes / 50) {
        out.Line(2) << "\"" << Number(id) << "\": \"Arri\xC3\xA8re-sc\xC3\xA8ne central " << Number(id % 97)
                    << "\",";
        ++id;
    }
    out.EndList();
    out.Line(1) << "},";
    out.Line(1) << "\"events\": {";
    while (out.Size() < bytes / 5) {
        out.Line(2) << "\"" << Number(id++) << "\": {";
        out.Line(3) << "\"description\": null,";
        out.Line(3) << "\"id\": " << Number(id) << ",";
        out.Line(3) << "\"logo\": \"\\/images\\/UE0AAAAACEKo6QAAAAZDSVRN\",";
        out.Line(3) << "\"name\": \"30th Anniversary Tour " << Number(id % 1000) << "\",";
        out.Line(3) << "\"subTopicIds\": [";
        out.Line(4) << Number(337'184'269) << ",";
        out.Line(4) << Number(337'184'283);
        out.Line(3) << "],";
        out.Line(3) << "\"topicIds\": []";
        out.Line(2) << "},";
    }
    out.EndList();
    out.Line(1) << "},";
    out.Line(1) << "\"performances\": [";
    while (out.Size() < bytes) {
        out.Line(2) << "{";
        out.Line(3) << "\"eventId\": " << Number(id++) << ",";
        out.Line(3) << "\"logo\": null,";
        out.Line(3) << "\"prices\": [";
        for (int price = 0; price < 3; ++price) {
            out.Line(4) << "{";
            out.Line(5) << "\"amount\": " << Number(random() % 200'000) << ",";
            out.Line(5) << "\"audienceSubCategoryId\": 337100890,";
            out.Line(5) << "\"seatCategoryId\": " << Number(338'937'295 + random() % 100);
            out.Line(4) << "},";
        }
        out.EndList();
        out.Line(3) << "],";
        out.Line(3) << "\"seatCategories\": [";
        out.Line(4) << "{\"areas\": [";
        for (int area = 0; area < 8; ++area) {
            out.Line(5) << "{";
            out.Line(6) << "\"areaId\": " << Number(205'705'999 + random() % 100) << ",";
            out.Line(6) << "\"blockIds\": []";
            out.Line(5) << "},";
        }
        out.EndList();
        out.Line(4) << "]}";
        out.Line(3) << "],";
        out.Line(3) << "\"venueCode\": \"PLEYEL_PLEYEL\"";
        out.Line(2) << "},";
    }
    out.EndList();
    out.Line(1) << "]";
    out << "\n}";
    return out.Take();
}

} // namespace zq::bench
