#include "quorel/sparse/detail/slap_csr.h"

#include <algorithm>
#include <cmath>

namespace quorel::detail::slap {

void Csr::Mul(const double* x, double* y) const {
  for (std::int32_t i = 0; i < n; ++i) {
    double s = 0;
    for (std::int32_t k = rp[i]; k < rp[i + 1]; ++k) s += v[k] * x[ci[k]];
    y[i] = s;
  }
}

void Csr::MulT(const double* x, double* y) const {
  std::fill(y, y + n, 0.0);
  for (std::int32_t i = 0; i < n; ++i) {
    const double xi = x[i];
    for (std::int32_t k = rp[i]; k < rp[i + 1]; ++k) y[ci[k]] += v[k] * xi;
  }
}

void ToCsr(const TSlapMatrix& a, Csr& c, CsrScratch& scratch) {
  const std::int32_t n = a.n;
  c.n = n;
  // Count per row: every stored entry, its mirror when symmetric, and a diagonal slot per row
  // (merged below if A already has one).
  std::vector<std::int32_t>& next = scratch.next;
  next.assign(n + 1, 0);
  for (std::int32_t j = 0; j < n; ++j)
    for (std::int32_t k = a.ap[j]; k < a.ap[j + 1]; ++k) {
      const std::int32_t i = a.ai[k];
      ++next[i];
      if (a.symmetricLower && i != j) ++next[j];
    }
  c.rp.assign(n + 1, 0);
  for (std::int32_t i = 0; i < n; ++i) c.rp[i + 1] = c.rp[i] + next[i] + 1;
  std::copy(c.rp.begin(), c.rp.end() - 1, next.begin());
  c.ci.assign(c.rp[n], 0);
  c.v.assign(c.rp[n], 0.0);
  for (std::int32_t i = 0; i < n; ++i) {
    c.ci[next[i]] = i;  // diagonal slot
    ++next[i];
  }
  for (std::int32_t j = 0; j < n; ++j)
    for (std::int32_t k = a.ap[j]; k < a.ap[j + 1]; ++k) {
      const std::int32_t i = a.ai[k];
      c.ci[next[i]] = j;
      c.v[next[i]++] = a.ax[k];
      if (a.symmetricLower && i != j) {
        c.ci[next[j]] = i;
        c.v[next[j]++] = a.ax[k];
      }
    }
  // Sort each row, add up duplicates (the diagonal slot meets A's own diagonal) and compact.
  auto& row = scratch.row;
  std::int32_t out = 0;
  c.diag.assign(n, 0);
  for (std::int32_t i = 0; i < n; ++i) {
    row.clear();
    for (std::int32_t k = c.rp[i]; k < next[i]; ++k) row.emplace_back(c.ci[k], c.v[k]);
    std::sort(row.begin(), row.end(), [](const auto& p, const auto& q) { return p.first < q.first; });
    const std::int32_t start = out;
    for (std::size_t k = 0; k < row.size(); ++k) {
      if (out > start && c.ci[out - 1] == row[k].first) {
        c.v[out - 1] += row[k].second;
        continue;
      }
      c.ci[out] = row[k].first;
      c.v[out] = row[k].second;
      if (row[k].first == i) c.diag[i] = out;
      ++out;
    }
    c.rp[i] = start;
  }
  c.rp[n] = out;
  c.ci.resize(out);
  c.v.resize(out);
}

bool Preconditioner::Build(const Csr& a, PrecKind kind, bool positive) {
  kind_ = kind;
  a_ = &a;
  const std::int32_t n = a.n;
  zeroDiag_ = false;
  for (std::int32_t i = 0; i < n; ++i)
    if (a.v[a.diag[i]] == 0.0) zeroDiag_ = true;
  if (kind != PrecKind::Ilu) {
    inv_diag_.resize(n);
    for (std::int32_t i = 0; i < n; ++i) inv_diag_[i] = 1.0 / a.v[a.diag[i]];
    return true;
  }
  // ILU(0) by rows (IKJ form): row i is reduced by the finished rows k < i it touches.
  lu_ = a.v;
  std::vector<std::int32_t>& pos = pos_;
  pos.assign(n, -1);
  bool clean = true;
  for (std::int32_t i = 0; i < n; ++i) {
    for (std::int32_t k = a.rp[i]; k < a.rp[i + 1]; ++k) pos[a.ci[k]] = k;
    for (std::int32_t k = a.rp[i]; k < a.diag[i]; ++k) {
      const std::int32_t col = a.ci[k];
      const double lik = lu_[k] / lu_[a.diag[col]];
      lu_[k] = lik;
      for (std::int32_t kk = a.diag[col] + 1; kk < a.rp[col + 1]; ++kk)
        if (pos[a.ci[kk]] >= 0) lu_[pos[a.ci[kk]]] -= lik * lu_[kk];
    }
    for (std::int32_t k = a.rp[i]; k < a.rp[i + 1]; ++k) pos[a.ci[k]] = -1;
    double& piv = lu_[a.diag[i]];
    double rowNorm = 0;
    for (std::int32_t k = a.rp[i]; k < a.rp[i + 1]; ++k) rowNorm = std::max(rowNorm, std::abs(a.v[k]));
    const bool bad = positive ? !(piv > 0.0) : !(std::abs(piv) > 1e-14 * rowNorm);
    if (bad) {
      // A broken pivot is replaced so the preconditioner stays usable; the caller reports it.
      piv = rowNorm > 0 ? rowNorm : 1.0;
      clean = false;
    }
  }
  inv_diag_.resize(n);
  for (std::int32_t i = 0; i < n; ++i) inv_diag_[i] = 1.0 / lu_[a.diag[i]];
  return clean;
}

void Preconditioner::Solve(const double* r, double* z) const {
  const Csr& a = *a_;
  const std::int32_t n = a.n;
  switch (kind_) {
    case PrecKind::Diagonal:
      for (std::int32_t i = 0; i < n; ++i) z[i] = r[i] * inv_diag_[i];
      return;
    case PrecKind::Lower:
      for (std::int32_t i = 0; i < n; ++i) {
        double s = r[i];
        for (std::int32_t k = a.rp[i]; k < a.diag[i]; ++k) s -= a.v[k] * z[a.ci[k]];
        z[i] = s * inv_diag_[i];
      }
      return;
    case PrecKind::Ilu:
      for (std::int32_t i = 0; i < n; ++i) {  // unit lower
        double s = r[i];
        for (std::int32_t k = a.rp[i]; k < a.diag[i]; ++k) s -= lu_[k] * z[a.ci[k]];
        z[i] = s;
      }
      for (std::int32_t i = n - 1; i >= 0; --i) {  // upper
        double s = z[i];
        for (std::int32_t k = a.diag[i] + 1; k < a.rp[i + 1]; ++k) s -= lu_[k] * z[a.ci[k]];
        z[i] = s * inv_diag_[i];
      }
      return;
  }
}

void Preconditioner::SolveT(const double* r, double* z) const {
  const Csr& a = *a_;
  const std::int32_t n = a.n;
  if (kind_ == PrecKind::Diagonal) {
    Solve(r, z);
    return;
  }
  std::copy(r, r + n, z);
  if (kind_ == PrecKind::Lower) {  // L' is upper: columns of L from the last
    for (std::int32_t i = n - 1; i >= 0; --i) {
      z[i] *= inv_diag_[i];
      for (std::int32_t k = a.rp[i]; k < a.diag[i]; ++k) z[a.ci[k]] -= a.v[k] * z[i];
    }
    return;
  }
  for (std::int32_t i = 0; i < n; ++i) {  // U' is lower
    z[i] *= inv_diag_[i];
    for (std::int32_t k = a.diag[i] + 1; k < a.rp[i + 1]; ++k) z[a.ci[k]] -= lu_[k] * z[i];
  }
  for (std::int32_t i = n - 1; i >= 0; --i)  // unit L' is upper
    for (std::int32_t k = a.rp[i]; k < a.diag[i]; ++k) z[a.ci[k]] -= lu_[k] * z[i];
}

}  // namespace quorel::detail::slap
