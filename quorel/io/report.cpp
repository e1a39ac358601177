#include "quorel/io/report.h"

#include "quorel/core/errors.h"
#include "quorel/core/float_format.h"
#include "quorel/objects/mtx.h"
#include "quorel/io/text_values.h"
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

std::string MtxHeader(const TMtx& mtx, const std::string& name) {
  return name + " (" + std::to_string(mtx.Rows()) + "x" + std::to_string(mtx.Cols()) + ") =  ";
}

// One line per value, then a blank line; with a label each line starts "name = " (the label when
// names run out). The patterns are read once for all the values.
template <class T>
void WriteValues(TQuorelReport& report, const std::vector<T>& values, const TStringList& names,
                 const std::string& label) {
  const TSampleFormatter formatter(report.ReFormat(), report.ImFormat());
  std::string line;
  for (std::size_t i = 0; i < values.size(); ++i) {
    line.clear();
    if (!label.empty()) {
      line += NameOr(names, i, label);
      line += " = ";
    }
    formatter.Append(line, values[i]);
    line += "\r\n";
    report.WriteString(line);
  }
  report.NewLine();
}

const std::string kVarLabel = "Var";
const std::string kCplxVarLabel = "CplxVar";
const std::string kVecLabel = "Vec";
const std::string kMtxLabel = "Mtx";
}  // namespace

TQuorelReport::TQuorelReport() = default;

TQuorelReport::TQuorelReport(const std::string& /*text*/) {}

TQuorelReport::~TQuorelReport() = default;

void TQuorelReport::SaveToFile(const std::string& fileName, bool append) const {
  SaveTextToFile(fileName, str(), append);
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
  WriteValues(*this, values, names, kVarLabel);
}

void TQuorelReport::PrintCplx(const TCplxArray& values, const TStringList& names) {
  WriteValues(*this, values, names, kCplxVarLabel);
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

void TQuorelReport::PrintMtx(const std::vector<const TMtx*>& mtxs, const TStringList& names) {
  for (std::size_t i = 0; i < mtxs.size(); ++i) {
    TestNil(mtxs[i]);
    fWork.clear();
    ValuesToStrings(*mtxs[i], fWork, fDelimiter, fReFormat, fImFormat);
    WriteBlock(MtxHeader(*mtxs[i], NameOr(names, i, kMtxLabel)));
  }
  NewLine();
}

void TQuorelReport::Print(const std::vector<const TQuorel*>& objects, const TStringList& names) {
  for (const TQuorel* object : objects)
    if (dynamic_cast<const TVec*>(object) == nullptr && dynamic_cast<const TMtx*>(object) == nullptr)
      ERaise("TQuorelReport.Print: Only TVec and TMtx are accepted!");
  for (std::size_t i = 0; i < objects.size(); ++i) {
    const TStringList name = i < names.size() ? TStringList{names[i]} : TStringList{};
    if (const auto* vec = dynamic_cast<const TVec*>(objects[i]))
      PrintVec({vec}, name);
    else
      PrintMtx({dynamic_cast<const TMtx*>(objects[i])}, name);
  }
}

void TQuorelReport::PrintSampleArray(const TDoubleArray& values, const std::string& name) {
  WriteString(name.empty() ? "Array (1x" + std::to_string(values.size()) + ")" : name);
  NewLine();
  NewLine();
  WriteValues(*this, values, {}, {});
}

void TQuorelReport::PrintCplxArray(const TCplxArray& values, const std::string& name) {
  WriteString(name.empty() ? "Array (1x" + std::to_string(values.size()) + ")" : name);
  NewLine();
  NewLine();
  WriteValues(*this, values, {}, {});
}

void QuorelPrint(const std::vector<const TVec*>& vecs, const TStringList& names) { Report->PrintVec(vecs, names); }
void QuorelPrint(const std::vector<const TMtx*>& mtxs, const TStringList& names) { Report->PrintMtx(mtxs, names); }
void QuorelPrint(const TCplxArray& values, const TStringList& names) { Report->PrintCplx(values, names); }
void QuorelPrint(const TDoubleArray& values, const TStringList& names) { Report->PrintSample(values, names); }

}  // namespace quorel
