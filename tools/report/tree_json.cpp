#include "tools/report/tree_json.h"

#include <vector>

#include "tools/report/box_contents.h"
#include "tools/report/box_tree.h"
#include "tools/terminal/json_text.h"
#include "tools/terminal/shown_text.h"
#include "tools/terminal/standard_streams.h"

namespace kt {
namespace {

std::string ValueJson(const BoxValue& value) {
  return value.form == BoxValue::Form::kText ? JsonText(value.text) : value.text;
}

std::string FieldsJson(const BoxContents& contents) {
  JsonObject object;
  for (const auto& field : contents.fields) object.Add(field.name.c_str(), ValueJson(field.value));
  return object.Finish();
}

std::string RowJson(const std::vector<std::string>& columns, const std::vector<BoxValue>& values) {
  JsonObject object;
  for (std::size_t i = 0; i < values.size(); ++i) object.Add(columns[i].c_str(), ValueJson(values[i]));
  return object.Finish();
}

class TreePrinter final : public BoxVisitor {
 public:
  TreePrinter(FileBytes& file, const std::string& name) : m_file(file) {
    JsonObject object;
    Open(object.AddText("file", name).Add("size", file.Size()), "");
  }

  BoxStep Enter(const BoxPlace& box, u32 owner) override {
    OpenBox& around = m_open.back();
    std::string path = around.path + (around.path.empty() ? "" : "/") + CodeText(box.code);
    if (box.code == CodeOf("trak")) path += "[" + std::to_string(++around.tracks) + "]";
    JsonObject object;
    object.AddText("type", CodeText(box.code))
        .AddText("path", path)
        .Add("offset", box.begin)
        .Add("size", box.size)
        .Add("headerSize", box.headerSize);
    const BoxContents contents = ReadBoxContents(m_file, box, owner);
    object.Add("properties", FieldsJson(contents));
    if (contents.rowCount > 0) {
      object.Add("records", contents.rowCount)
          .Add("firstRecords",
               JsonArray(contents.rows, [&](const auto& row) { return RowJson(contents.columns, row); }));
    }
    Print(around.isEmpty ? "\n" : ",\n");
    around.isEmpty = false;
    Open(object, std::move(path));
    return BoxStep::kEnter;
  }
  void Leave() override {
    const OpenBox& box = m_open.back();
    Print(box.fault.empty() ? "]}" : "],\"fault\":" + JsonText(box.fault) + "}");
    m_open.pop_back();
  }
  void TellFault(const std::string& fault) override { m_open.back().fault = fault; }

 private:
  struct OpenBox {
    std::string path;
    u32 tracks = 0;
    bool isEmpty = true;
    std::string fault = {};
  };

  // The object without its end, which comes with `Leave`.
  void Open(const JsonObject& object, std::string path) {
    std::string text = object.Finish();
    text.back() = ',';
    Print(text + "\"boxes\":[");
    m_open.push_back({.path = std::move(path)});
  }

  FileBytes& m_file;
  std::vector<OpenBox> m_open;
};

}  // namespace

void PrintTreeJson(FileBytes& file, const std::string& name) {
  TreePrinter printer(file, name);
  WalkBoxes(file, printer);
  printer.Leave();
  Print("\n");
}

}  // namespace kt
