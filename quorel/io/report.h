#pragma once
// TQuorelReport: a string stream that collects labelled blocks of numbers, and the global
// `Report` with the QuorelPrint shortcuts that print into it. Lines end in "\r\n".

#include <ostream>
#include <sstream>
#include <string>
#include <vector>

#include "quorel/core/types.h"
#include "quorel/objects/controller.h"
#include "quorel/io/text_values.h"

namespace quorel {

class TMtx;
class TQuorel;
class TVec;

/// Text report: the accumulated text is the stream's string (`DataString`). Items without a
/// name get a generic label ("Var", "CplxVar", "Vec", "Mtx", "Array (1xN)").
class TQuorelReport : public std::ostringstream {
 public:
  /// An empty report with the default formats and a tab as delimiter.
  TQuorelReport();
  /// The same empty report: the text of the creating call is not kept.
  explicit TQuorelReport(const std::string& text);
  ~TQuorelReport() override;

  /// Pattern of real values and real parts (default " 0.0000;-0.0000").
  const std::string& ReFormat() const { return fReFormat; }
  /// Pattern of real values and real parts.
  void SetReFormat(std::string value) { fReFormat = std::move(value); }
  /// Pattern of imaginary parts, sign and unit included (default "+0.0000i;-0.0000i").
  const std::string& ImFormat() const { return fImFormat; }
  /// Pattern of imaginary parts.
  void SetImFormat(std::string value) { fImFormat = std::move(value); }
  /// Text between the columns of a matrix row (default a tab).
  const std::string& Delimiter() const { return fDelimiter; }
  /// Text between the columns of a matrix row.
  void SetDelimiter(std::string value) { fDelimiter = std::move(value); }

  /// The text accumulated so far.
  std::string DataString() const { return str(); }
  /// Appends text as it stands.
  void WriteString(const std::string& text) { write(text.data(), static_cast<std::streamsize>(text.size())); }
  /// Appends "\r\n".
  void NewLine() { WriteString("\r\n"); }
  /// Empties the report.
  void Clear() { str(std::string()); }
  /// Writes the text to a file, replacing it or appended to its end. Raises Exception when the
  /// file cannot be opened or written.
  void SaveToFile(const std::string& fileName, bool append) const;
  /// Writes the text to a stream.
  void SaveToStream(std::ostream& stream) const;

  /// Per value: "name = value" (or "Var = value") and a line end; one empty line after the last.
  virtual void PrintSample(const TDoubleArray& values, const TStringList& names = {});
  /// As PrintSample for complex values, with the label "CplxVar".
  virtual void PrintCplx(const TCplxArray& values, const TStringList& names = {});
  /// Per vector: "name (Nx1) =  ", an empty line, one value per line, an empty line; one more
  /// empty line after the last vector.
  virtual void PrintVec(const std::vector<const TVec*>& vecs, const TStringList& names = {});
  /// Per matrix: "name (RxC) =  ", an empty line, one line per row with the columns separated by
  /// Delimiter, an empty line; one more empty line after the last matrix.
  virtual void PrintMtx(const std::vector<const TMtx*>& mtxs, const TStringList& names = {});
  /// Prints vectors and matrices in order, each as PrintVec or PrintMtx would alone; raises "TQuorelReport.Print: Only TVec and TMtx are
  /// accepted!" for anything else (nothing is printed then).
  virtual void Print(const std::vector<const TQuorel*>& objects, const TStringList& names = {});
  /// A header line (Name, or "Array (1xN)"), an empty line, one value per line, an empty line.
  virtual void PrintSampleArray(const TDoubleArray& values, const std::string& name = {});
  /// As PrintSampleArray for complex values.
  virtual void PrintCplxArray(const TCplxArray& values, const std::string& name = {});

 protected:
  /// Appends each line of the list followed by "\r\n".
  void WriteLines(const TStringList& lines);
  /// Appends a "label (RxC) =  " header, the value lines of the work list, and the empty lines
  /// around them.
  void WriteBlock(const std::string& header);

  std::string fImFormat = "+0.0000i;-0.0000i";
  std::string fReFormat = " 0.0000;-0.0000";
  TStringList fWork;  // value lines of the item being printed
  std::string fDelimiter = "\t";
};

/// The global report; created at start-up of the objects module, null after shut-down.
extern TQuorelReport* Report;

/// Print into the global report.
void QuorelPrint(const std::vector<const TVec*>& vecs, const TStringList& names = {});
void QuorelPrint(const std::vector<const TMtx*>& mtxs, const TStringList& names = {});
void QuorelPrint(const TCplxArray& values, const TStringList& names = {});
void QuorelPrint(const TDoubleArray& values, const TStringList& names = {});

}  // namespace quorel
