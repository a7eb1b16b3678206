#pragma once

namespace kestrelvisor::ctl {

// How a result is shown.
enum class OutputFormat {
  text,      // sentences and lines for people
  table,     // lines of columns for people, cut to the terminal's width
  wide,      // the same with all columns, uncut
  tree,      // indented by what stands in what
  json,      // one document
  jsonl,     // a document on each line
  yaml,      // the document of json in another spelling
  csv,       // a line of cells for each thing, for spreadsheets
  dot,       // a graph, for Graphviz
  name,      // a line each: what other commands take as an argument
  protobuf,  // the reply as it came
};

}  // namespace kestrelvisor::ctl
