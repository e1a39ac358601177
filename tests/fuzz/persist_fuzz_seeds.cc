// Writes a starting corpus for persist_fuzz into the directory given as the argument: valid
// streams of every object kind and precision, so the fuzzer starts past the file-code check.
#include <cstdio>
#include <string>

#include "quorel/io/lists.h"

using namespace quorel;

namespace {

void WriteSeed(const std::string& dir, const std::string& name, std::uint8_t mode, const TQuorelMemoryStream& s) {
  std::FILE* f = std::fopen((dir + "/" + name).c_str(), "wb");
  if (f == nullptr) return;
  std::fputc(mode, f);
  std::fwrite(s.Bytes().data(), 1, s.Bytes().size(), f);
  std::fclose(f);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2) return 1;
  const std::string dir = argv[1];
  for (int p = prDouble; p <= prInt24; ++p) {
    TVec v;
    v.SetIt(false, {1.5, -2, 300, 1e6});
    v.SetPrecision(static_cast<TPrecision>(p));
    v.SetCaption("seed");
    TQuorelMemoryStream vs;
    v.SaveToStream(vs);
    v.SetCplx({{1, 2}, {-3, 4}});
    v.SaveToStream(vs);
    WriteSeed(dir, "vec" + std::to_string(p), 0, vs);

    TMtx m(2, 3, p % 2 == 1);
    for (double& x : m.Values()) x = 7.25;
    m.SetPrecision(static_cast<TPrecision>(p));
    TQuorelMemoryStream ms;
    m.SaveToStream(ms);
    WriteSeed(dir, "mtx" + std::to_string(p), 1, ms);
  }
  TVecList vl;
  vl.SetCount(2);
  vl[1].SetIt(false, {1, 2});
  TQuorelMemoryStream vls;
  vl.SaveToStream(vls);
  WriteSeed(dir, "veclist", 2, vls);
  TMtxList ml;
  ml.SetCount(2);
  ml[0].Size(1, 2);
  ml[0].SetZero();
  TQuorelMemoryStream mls;
  ml.SaveToStream(mls);
  WriteSeed(dir, "mtxlist", 3, mls);
  return 0;
}
