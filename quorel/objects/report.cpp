#include "quorel/objects/report.h"

#include <fstream>

#include "quorel/core/errors.h"
#include "quorel/core/text.h"
#include "quorel/objects/text_values.h"
#include "quorel/objects/vec.h"

namespace quorel {

TQuorelReport* Report = nullptr;

namespace {
// Name i, or the generic label when the caller gave fewer names.
const std::string& NameOr(const TStringList& names, std::size_t i, const std::string& generic) {
  return i < names.size() ? names[i] : generic;
}

std::string VecHeader(const TVec& vec, const std::string& name) {
  return name + " (" + std::to_string(vec.Length()) + "x1) =  ";
}

const std::string kVarLabel = "Var";
const std::string kCplxVarLabel = "CplxVar";
const std::string kVecLabel = "Vec";
}  // namespace

TQuorelReport::TQuorelReport() = default;

TQuorelReport::TQuorelReport(const std::string& text) { WriteString(text); }

TQuorelReport::~TQuorelReport() = default;

void TQuorelReport::SaveToFile(const std::string& fileName, bool append) const {
  std::ofstream file(fileName, std::ios::binary | (append ? std::ios::app : std::ios::trunc));
  if (!file) throw Exception("Cannot open file \"" + fileName + "\"");
  SaveToStream(file);
  file.close();
  if (!file) throw Exception("Cannot write file \"" + fileName + "\"");
}

void TQuorelReport::SaveToStream(std::ostream& stream) const {
  const std::string text = str();
  stream.write(text.data(), static_cast<std::streamsize>(text.size()));
}

void TQuorelReport::WriteLines(const TStringList& lines) {
  for (const std::string& line : lines) {
    WriteString(line);
    NewLine();
  }
}

void TQuorelReport::WriteBlock(const std::string& header) {
  WriteString(header);
  NewLine();
  NewLine();
  WriteLines(fWork);
  NewLine();
}

void TQuorelReport::PrintSample(const TDoubleArray& values, const TStringList& names) {
  for (std::size_t i = 0; i < values.size(); ++i)
    WriteString(NameOr(names, i, kVarLabel) + " = " + FormatSample(fReFormat, values[i]) + "\r\n");
  NewLine();
}

void TQuorelReport::PrintCplx(const TCplxArray& values, const TStringList& names) {
  for (std::size_t i = 0; i < values.size(); ++i)
    WriteString(NameOr(names, i, kCplxVarLabel) + " = " + FormatCplx(values[i], fReFormat, fImFormat) + "\r\n");
  NewLine();
}

void TQuorelReport::PrintVec(const std::vector<const TVec*>& vecs, const TStringList& names) {
  for (std::size_t i = 0; i < vecs.size(); ++i) {
    TestNil(vecs[i]);
    fWork.clear();
    ValuesToStrings(*vecs[i], fWork, fReFormat, fImFormat);
    WriteBlock(VecHeader(*vecs[i], NameOr(names, i, kVecLabel)));
  }
  NewLine();
}

void TQuorelReport::Print(const std::vector<const TQuorel*>& objects, const TStringList& names) {
  for (const TQuorel* object : objects)
    if (dynamic_cast<const TVec*>(object) == nullptr) ERaise("TQuorelReport.Print: Only TVec and TMtx are accepted!");
  for (std::size_t i = 0; i < objects.size(); ++i) {
    const TStringList name = i < names.size() ? TStringList{names[i]} : TStringList{};
    PrintVec({dynamic_cast<const TVec*>(objects[i])}, name);
  }
}

void TQuorelReport::PrintSampleArray(const TDoubleArray& values, const std::string& name) {
  WriteString(name.empty() ? "Array (1x" + std::to_string(values.size()) + ")" : name);
  NewLine();
  NewLine();
  for (double x : values) WriteString(FormatSample(fReFormat, x) + "\r\n");
  NewLine();
}

void TQuorelReport::PrintCplxArray(const TCplxArray& values, const std::string& name) {
  WriteString(name.empty() ? "Array (1x" + std::to_string(values.size()) + ")" : name);
  NewLine();
  NewLine();
  for (const TCplx& z : values) WriteString(FormatCplx(z, fReFormat, fImFormat) + "\r\n");
  NewLine();
}

void QuorelPrint(const std::vector<const TVec*>& vecs, const TStringList& names) { Report->PrintVec(vecs, names); }
void QuorelPrint(const TCplxArray& values, const TStringList& names) { Report->PrintCplx(values, names); }
void QuorelPrint(const TDoubleArray& values, const TStringList& names) { Report->PrintSample(values, names); }

}  // namespace quorel
