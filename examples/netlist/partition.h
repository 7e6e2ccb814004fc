#ifndef PARTITION_H
#define PARTITION_H

#include <string>
#include <string_view>

/// \file
/// A part of the design's hierarchy.

/// All atoms below one level of the hierarchy, or, with an empty root, the whole design.
class PARTITION {
public:
   /// \param root  the path of the level, without a "|" at its end
   explicit PARTITION(std::string root) : m_root(std::move(root)) {}

   const std::string& root() const { return m_root; }

   /// Whether a name lies below the root. The "|" must follow: "top|u1x|q" is not in the partition "top|u1".
   bool contains(std::string_view name) const {
      return m_root.empty() ||
             (name.size() > m_root.size() && name.starts_with(m_root) && name[m_root.size()] == '|');
   }

   /// A name of the partition without the root in front.
   std::string relative(std::string_view name) const {
      return std::string(m_root.empty() ? name : name.substr(m_root.size() + 1));
   }

private:
   std::string m_root;
};

#endif
