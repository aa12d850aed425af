#include "formats/phylo_tree.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cmath>
#include <numeric>

#include "host/alignment.h"
#include "plugin/zemtra_plugin.h"

namespace KARVO {

namespace {

// Shortest text that reads back as the same value, without an exponent and
// without depending on the C locale.
template <typename T>
std::string number(T value) {
  if (std::isnan(value)) return "nan";
  if (std::isinf(value)) return value > 0 ? "inf" : "-inf";
  char buffer[512];
  const auto result = std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::fixed);
  return std::string(buffer, result.ptr);
}

int addNode(PhyloTree& tree, PhyloNode node) {
  tree.nodes.push_back(std::move(node));
  return static_cast<int>(tree.nodes.size()) - 1;
}

void adopt(PhyloTree& tree, int parent, int child) {
  tree.nodes[static_cast<std::size_t>(parent)].children.push_back(child);
  tree.nodes[static_cast<std::size_t>(child)].parent = parent;
}

class NewickReader {
 public:
  // A UTF-8 byte-order mark is skipped; columns count from after it.
  explicit NewickReader(std::string_view text) : text_(text) {
    if (text_.starts_with("\xEF\xBB\xBF")) text_.remove_prefix(3);
  }

  // The first tree, and how many follow it (each read as carefully).
  NewickTrees readAll() {
    skipBlank();
    if (atEnd()) fail("no tree: the text is empty");
    if (text_.substr(pos_, 6) == "#NEXUS" || text_.substr(pos_, 6) == "#nexus") {
      fail("a NEXUS file, not Newick (copy the tree after '=' in its TREES block into a file of its own)");
    }
    if (peek() == '>' || peek() == '#') fail("this looks like an alignment file, not a Newick tree");
    NewickTrees trees{read(), 0};
    for (skipBlank(); !atEnd(); skipBlank()) {
      read();
      ++trees.otherTrees;
    }
    return trees;
  }

 private:
  PhyloTree read() {
    PhyloTree tree;
    std::vector<int> open;  // inner nodes whose ')' is still to come
    for (;;) {
      // A node starts here.
      skipBlank();
      if (peek() == '(') {
        const int node = addNode(tree, {});
        attach(tree, open, node);
        open.push_back(node);
        advance();
        continue;
      }
      const int leaf = addNode(tree, {});
      attach(tree, open, leaf);
      readLabelAndLength(tree.nodes[static_cast<std::size_t>(leaf)]);
      // What follows a finished node.
      for (;;) {
        skipBlank();
        const char c = peek();
        if (c == ',') {
          if (open.empty()) fail("',' outside any parentheses");
          advance();
          break;
        }
        if (c == ')') {
          if (open.empty()) fail("')' without a matching '('");
          advance();
          const int closed = open.back();
          open.pop_back();
          readLabelAndLength(tree.nodes[static_cast<std::size_t>(closed)]);
          continue;
        }
        if (c == ';') {
          if (!open.empty()) fail("';' before every '(' was closed");
          advance();
          return tree;
        }
        if (atEnd()) fail(open.empty() ? "the tree does not end with ';'" : "the text ends inside parentheses");
        fail(std::string("unexpected '") + c + "'");
      }
    }
  }

  void attach(PhyloTree& tree, const std::vector<int>& open, int node) {
    if (!open.empty()) {
      adopt(tree, open.back(), node);
    } else if (tree.root < 0) {
      tree.root = node;
    } else {
      fail("a second tree before ';'");
    }
  }

  bool atEnd() const { return pos_ >= text_.size(); }
  char peek() const { return atEnd() ? '\0' : text_[pos_]; }
  void advance() {
    if (text_[pos_] == '\n') {
      ++line_;
      column_ = 1;
    } else {
      ++column_;
    }
    ++pos_;
  }

  [[noreturn]] void fail(const std::string& problem) const {
    throw NewickError("Newick line " + std::to_string(line_) + ", column " + std::to_string(column_) + ": " + problem);
  }

  static bool isBlank(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }

  void skipBlank() {
    while (!atEnd()) {
      if (isBlank(peek())) {
        advance();
      } else if (peek() == '[') {
        while (!atEnd() && peek() != ']') advance();
        if (atEnd()) fail("a '[' comment that is never closed");
        advance();
      } else {
        return;
      }
    }
  }

  void readLabelAndLength(PhyloNode& node) {
    skipBlank();
    if (peek() == '\'') {
      advance();
      for (;;) {
        if (atEnd()) fail("a quoted label that is never closed");
        const char c = peek();
        advance();
        if (c == '\'') {
          if (peek() != '\'') break;
          advance();
        }
        node.name += c;
      }
    } else {
      while (!atEnd() && !isBlank(peek()) && std::string_view("()[]':;,").find(peek()) == std::string_view::npos) {
        node.name += peek();
        advance();
      }
    }
    skipBlank();
    if (peek() != ':') return;
    advance();
    skipBlank();
    const std::size_t start = pos_;
    while (!atEnd() && std::string_view("0123456789+-.eE").find(peek()) != std::string_view::npos) advance();
    const std::string_view digits = text_.substr(start, pos_ - start);
    double value = 0.0;
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), value);
    if (digits.empty() || error != std::errc() || end != digits.data() + digits.size()) {
      fail("a branch length that is not a number");
    }
    node.length = value;
  }

  std::string_view text_;
  std::size_t pos_ = 0;
  unsigned long line_ = 1;
  unsigned long column_ = 1;
};

}  // namespace

bool PhyloTree::hasLengths() const {
  return std::any_of(nodes.begin(), nodes.end(), [](const PhyloNode& n) { return !std::isnan(n.length); });
}

PhyloTree runTree(const std::vector<std::pair<unsigned long, unsigned long>>& joins,
                  const std::vector<float>& joinDistances, const std::vector<float>& distance,
                  const std::vector<std::string>& names) {
  const std::size_t ns = names.size();
  if (ns == 0) throw std::invalid_argument("a tree needs at least one sequence");
  std::vector<std::pair<unsigned long, unsigned long>> pairs = joins;
  std::vector<float> heights = joinDistances;
  if (pairs.empty() && ns == 2) {
    if (distance.size() != 4) throw std::invalid_argument("a run of two sequences needs its 2 x 2 distance table");
    pairs = {{0, 1}};
    heights = {distance[1]};
  }
  if (pairs.size() != ns - 1 || heights.size() != pairs.size()) {
    throw std::invalid_argument(std::to_string(pairs.size()) + " joins with " + std::to_string(heights.size()) +
                                " distances cannot join " + std::to_string(ns) + " sequences into one tree");
  }

  PhyloTree tree;
  tree.nodes.reserve(2 * ns);
  std::vector<long long> micro;  // height of every node in millionths
  for (std::size_t r = 0; r < ns; ++r) {
    PhyloNode leaf;
    leaf.name = names[r];
    leaf.row = static_cast<long>(r);
    addNode(tree, std::move(leaf));
    micro.push_back(0);
  }
  std::vector<int> slot(ns);
  std::iota(slot.begin(), slot.end(), 0);
  std::vector<bool> joined(ns, false);
  int block = -1;
  for (std::size_t t = 0; t < pairs.size(); ++t) {
    const auto [a, b] = pairs[t];
    if (a >= ns || b >= ns || a == b || joined[a] || joined[b]) {
      throw std::invalid_argument("join " + std::to_string(t + 1) + " (" + std::to_string(a) + ", " +
                                  std::to_string(b) + ") does not join two groups");
    }
    joined[b] = true;
    const float d = heights[t];
    if (std::isnan(d) && block >= 0 && slot[a] == block) {
      adopt(tree, block, slot[b]);
      continue;
    }
    if (!std::isnan(d) && !(std::fabs(d) < 1e9f)) {
      throw std::invalid_argument("join " + std::to_string(t + 1) + " has the distance " + number(d));
    }
    const int inner = addNode(tree, {});
    micro.push_back(std::isnan(d) ? 0 : std::llround(static_cast<double>(d) * 500000.0));
    if (std::isnan(d)) block = inner;
    adopt(tree, inner, slot[a]);
    adopt(tree, inner, slot[b]);
    slot[a] = inner;
  }
  tree.root = slot[pairs.empty() ? 0 : pairs.back().first];
  for (std::size_t n = 0; n < tree.nodes.size(); ++n) {
    PhyloNode& node = tree.nodes[n];
    if (node.parent >= 0) {
      node.length = static_cast<double>(micro[static_cast<std::size_t>(node.parent)] - micro[n]) / 1e6;
    }
  }
  return tree;
}

PhyloTree runTree(const ZemtraRunReport& report, const Alignment& alignment) {
  if (report.exchange != ExchangeOutcome::Rewritten || report.run.outcome != RunOutcome::Completed)
    throw std::invalid_argument("the run did not finish");
  std::vector<std::string> names;
  names.reserve(report.sentRows.size());
  for (const unsigned long row : report.sentRows) {
    if (row >= alignment.sequenceCount()) throw std::invalid_argument("the run's rows are not the alignment's");
    names.push_back(alignment.GetSeqName(row));
  }
  const JoinHistory& history = report.run.history;
  return runTree(history.joins, history.distances, report.run.distance, names);
}

std::vector<int> leafOrder(const PhyloTree& tree) {
  std::vector<int> leaves;
  for (const int n : preorder(tree)) {
    if (tree.nodes[static_cast<std::size_t>(n)].children.empty()) leaves.push_back(n);
  }
  return leaves;
}

std::vector<int> preorder(const PhyloTree& tree) {
  std::vector<int> order;
  if (tree.empty()) return order;
  order.reserve(tree.nodes.size());
  std::vector<int> pending{tree.root};
  while (!pending.empty()) {
    const int at = pending.back();
    pending.pop_back();
    order.push_back(at);
    const auto& children = tree.nodes[static_cast<std::size_t>(at)].children;
    for (auto it = children.rbegin(); it != children.rend(); ++it) pending.push_back(*it);
  }
  return order;
}

std::string decimalText(double value) { return number(value); }

std::string newickLabel(std::string_view name) {
  const bool plain = !name.empty() && std::none_of(name.begin(), name.end(), [](char c) {
    return static_cast<unsigned char>(c) <= ' ' || std::string_view("()[]':;,").find(c) != std::string_view::npos;
  });
  if (plain) return std::string(name);
  std::string quoted = "'";
  for (const char c : name) {
    quoted += c;
    if (c == '\'') quoted += '\'';
  }
  return quoted + "'";
}

std::string toNewick(const PhyloTree& tree) {
  if (tree.empty()) throw std::invalid_argument("no tree to write");
  std::string out;
  // (node, next child to write); a node is finished when all its children are.
  std::vector<std::pair<int, std::size_t>> stack{{tree.root, 0}};
  while (!stack.empty()) {
    auto& [at, next] = stack.back();
    const PhyloNode& node = tree.nodes[static_cast<std::size_t>(at)];
    if (!node.children.empty() && next < node.children.size()) {
      out += next == 0 ? '(' : ',';
      const int child = node.children[next++];
      stack.emplace_back(child, 0);
      continue;
    }
    if (!node.children.empty()) out += ')';
    if (!node.name.empty() || node.children.empty()) out += newickLabel(node.name);
    if (at != tree.root && !std::isnan(node.length)) out += ':' + number(node.length);
    stack.pop_back();
  }
  return out + ";\n";
}

NewickTrees readNewickTrees(std::string_view text) { return NewickReader(text).readAll(); }

PhyloTree parseNewick(std::string_view text) { return readNewickTrees(text).tree; }

std::string otherTreesNote(std::size_t otherTrees) {
  if (otherTrees == 0) return "";
  return "the file holds " + std::to_string(otherTrees) + " more tree" + (otherTrees == 1 ? "" : "s") +
         " after the first; only the first is used";
}

namespace {

std::vector<std::size_t> checkedOrder(const PairwiseTables& tables) {
  const std::size_t ns = tables.names.size();
  if (tables.identity.size() != ns * ns || tables.distance.size() != ns * ns) {
    throw std::invalid_argument("the pairwise tables do not have one row and column per sequence");
  }
  std::vector<std::size_t> order = tables.order;
  if (order.empty()) {
    order.resize(ns);
    std::iota(order.begin(), order.end(), std::size_t{0});
  }
  std::vector<bool> seen(ns, false);
  if (order.size() != ns) throw std::invalid_argument("the row order does not list every sequence once");
  for (const std::size_t r : order) {
    if (r >= ns || seen[r]) throw std::invalid_argument("the row order does not list every sequence once");
    seen[r] = true;
  }
  return order;
}

std::string tsvCell(std::string_view text) {
  std::string out(text);
  for (char& c : out) {
    if (c == '\t' || c == '\n' || c == '\r') c = ' ';
  }
  return out;
}

void appendTsvMatrix(std::string& out, const char* title, const std::vector<std::string>& names,
                     const std::vector<float>& values, const std::vector<std::size_t>& order) {
  const std::size_t ns = names.size();
  out += title;
  for (const std::size_t c : order) out += '\t' + tsvCell(names[c]);
  out += '\n';
  for (const std::size_t r : order) {
    out += tsvCell(names[r]);
    for (const std::size_t c : order) out += '\t' + number(values[r * ns + c]);
    out += '\n';
  }
}

}  // namespace

std::string distanceTsv(const PairwiseTables& tables) {
  const std::vector<std::size_t> order = checkedOrder(tables);
  std::string out;
  appendTsvMatrix(out, "percent_identity", tables.names, tables.identity, order);
  out += '\n';
  appendTsvMatrix(out, "distance", tables.names, tables.distance, order);
  return out;
}

std::string distancePhylip(const PairwiseTables& tables) {
  const std::vector<std::size_t> order = checkedOrder(tables);
  const std::size_t ns = tables.names.size();
  std::string out = std::string(ns < 10000 ? 5 - std::to_string(ns).size() : 0, ' ') + std::to_string(ns) + '\n';
  for (const std::size_t r : order) {
    std::string name = tables.names[r];
    for (char& c : name) {
      if (static_cast<unsigned char>(c) <= ' ') c = '_';
    }
    if (name.size() < 10) name.resize(10, ' ');
    out += name;
    for (const std::size_t c : order) out += "  " + number(tables.distance[r * ns + c]);
    out += '\n';
  }
  return out;
}

bool wantsPhylip(std::string_view path) {
  std::string lower(path);
  std::transform(lower.begin(), lower.end(), lower.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return lower.ends_with(".phy") || lower.ends_with(".dist");
}

}  // namespace KARVO
