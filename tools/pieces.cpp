#include "pieces.h"

#include <algorithm>

namespace ambielf::tools {

std::vector<Claim> divide(Range whole, const std::vector<Claim>& claims) {
  struct Edge {
    uint64_t at;
    size_t owner;
    bool opens;
  };
  std::vector<Edge> edges;
  edges.reserve(2 * claims.size() + 1);
  for (const Claim& claim : claims) {
    const uint64_t begin = std::max(claim.begin, whole.begin), end = std::min(claim.end, whole.end);
    if (begin >= end) continue;
    edges.push_back({begin, claim.owner, true});
    edges.push_back({end, claim.owner, false});
  }
  std::sort(edges.begin(), edges.end(), [](const Edge& a, const Edge& b) { return a.at < b.at; });
  edges.push_back({whole.end, 0, true});

  std::vector<Claim> pieces;
  size_t open = 0, sum_of_owners = 0;  // with one open claim the sum is its owner
  uint64_t done = whole.begin;
  for (const Edge& edge : edges) {
    const size_t owner = open == 0 ? nobody : open == 1 ? sum_of_owners : several;
    if (edge.at > done) {
      if (!pieces.empty() && pieces.back().owner == owner) {
        pieces.back().end = edge.at;
      } else {
        pieces.push_back({{done, edge.at}, owner});
      }
    }
    done = edge.at;
    open += edge.opens ? size_t{1} : SIZE_MAX;
    sum_of_owners += edge.opens ? edge.owner : ~edge.owner + 1;
  }
  return pieces;
}

Scale::Scale(const std::vector<Claim>& pieces) {
  uint64_t held = 0, holes = 0;
  for (const Claim& piece : pieces) {
    const bool is_hole = piece.owner == nobody;
    (is_hole ? holes : held) += is_hole ? 1 : piece.size();
    if (!parts_.empty() && !is_hole && !parts_.back().is_hole) {
      parts_.back().end = piece.end;
    } else {
      parts_.push_back({{piece.begin, piece.end}, is_hole, 0, 0});
    }
  }
  const double most = static_cast<double>(held) / static_cast<double>(16 + holes);
  double length = 0;
  for (Part& part : parts_) {
    part.from = length;
    const double size = static_cast<double>(part.size());
    length += part.is_hole ? std::min(size, most) : size;
    part.to = length;
  }
  for (Part& part : parts_) {
    part.from /= length;
    part.to /= length;
  }
}

const Scale::Part& Scale::part_of(uint64_t byte) const {
  const auto above = std::upper_bound(parts_.begin(), parts_.end(), byte,
                                      [](uint64_t at, const Part& part) { return at < part.begin; });
  return above == parts_.begin() ? *above : above[-1];
}

double Scale::place(uint64_t byte) const {
  const Part& part = part_of(byte);
  const uint64_t passed = std::clamp(byte, part.begin, part.end) - part.begin;
  return part.from + (part.to - part.from) * static_cast<double>(passed) / static_cast<double>(part.size());
}

bool Scale::holds(Range range) const {
  const Part& part = part_of(range.begin);
  return !part.is_hole && part.begin <= range.begin && range.end <= part.end;
}

std::vector<Range> Scale::holes() const {
  std::vector<Range> holes;
  for (const Part& part : parts_) {
    if (part.is_hole) holes.push_back(part);
  }
  return holes;
}

}  // namespace ambielf::tools
