// What the messages of ONNX hold, after its schema, onnx.proto: the fields that have to be looked into to know whether
// a model is whole. Messages and numbers are those of the schema.
#ifndef HALCONCPP_DLMODELS_ONNX_SCHEMA_H
#define HALCONCPP_DLMODELS_ONNX_SCHEMA_H

#include <array>
#include <cstddef>
#include <cstdint>

namespace HalconCpp::detail::onnx {

// The messages of the schema. Those without messages or packed numbers in them are `Plain`.
enum class Message : std::uint8_t {
  Plain,
  Model,
  Graph,
  Node,
  Attribute,
  Tensor,
  SparseTensor,
  ValueInfo,
  Type,
  TensorType,
  HolderType,
  MapType,
  Shape,
  Annotation,
  Training,
  Function
};

// What a field of type Bytes holds: a message, or numbers side by side. All others hold texts or weights.
enum class Content : std::uint8_t { Message, Varints, Fixed32, Fixed64 };

struct Part {
  Message of;
  std::uint32_t number;
  Content content;
  Message message = Message::Plain;
};

constexpr Part holds(Message of, std::uint32_t number, Message message) {
  return {of, number, Content::Message, message};
}

inline constexpr Part schema[] = {
    holds(Message::Model, 7, Message::Graph),
    holds(Message::Model, 8, Message::Plain),   // OperatorSetIdProto
    holds(Message::Model, 14, Message::Plain),  // StringStringEntryProto
    holds(Message::Model, 20, Message::Training),
    holds(Message::Model, 25, Message::Function),
    holds(Message::Graph, 1, Message::Node),
    holds(Message::Graph, 5, Message::Tensor),
    holds(Message::Graph, 11, Message::ValueInfo),
    holds(Message::Graph, 12, Message::ValueInfo),
    holds(Message::Graph, 13, Message::ValueInfo),
    holds(Message::Graph, 14, Message::Annotation),
    holds(Message::Graph, 15, Message::SparseTensor),
    holds(Message::Node, 5, Message::Attribute),
    holds(Message::Attribute, 5, Message::Tensor),
    holds(Message::Attribute, 6, Message::Graph),
    {Message::Attribute, 7, Content::Fixed32},
    {Message::Attribute, 8, Content::Varints},
    holds(Message::Attribute, 10, Message::Tensor),
    holds(Message::Attribute, 11, Message::Graph),
    holds(Message::Attribute, 14, Message::Type),
    holds(Message::Attribute, 15, Message::Type),
    holds(Message::Attribute, 22, Message::SparseTensor),
    holds(Message::Attribute, 23, Message::SparseTensor),
    {Message::Tensor, 1, Content::Varints},
    holds(Message::Tensor, 3, Message::Plain),  // Segment
    {Message::Tensor, 4, Content::Fixed32},
    {Message::Tensor, 5, Content::Varints},
    {Message::Tensor, 7, Content::Varints},
    {Message::Tensor, 10, Content::Fixed64},
    {Message::Tensor, 11, Content::Varints},
    holds(Message::Tensor, 13, Message::Plain),  // StringStringEntryProto
    holds(Message::SparseTensor, 1, Message::Tensor),
    holds(Message::SparseTensor, 2, Message::Tensor),
    {Message::SparseTensor, 3, Content::Varints},
    holds(Message::ValueInfo, 2, Message::Type),
    holds(Message::Type, 1, Message::TensorType),
    holds(Message::Type, 4, Message::HolderType),
    holds(Message::Type, 5, Message::MapType),
    holds(Message::Type, 8, Message::TensorType),
    holds(Message::Type, 9, Message::HolderType),
    holds(Message::TensorType, 2, Message::Shape),
    holds(Message::HolderType, 1, Message::Type),
    holds(Message::MapType, 2, Message::Type),
    holds(Message::Shape, 1, Message::Plain),       // Dimension
    holds(Message::Annotation, 2, Message::Plain),  // StringStringEntryProto
    holds(Message::Training, 1, Message::Graph),
    holds(Message::Training, 2, Message::Graph),
    holds(Message::Training, 3, Message::Plain),  // StringStringEntryProto
    holds(Message::Training, 4, Message::Plain),
    holds(Message::Function, 7, Message::Node),
    holds(Message::Function, 9, Message::Plain),  // OperatorSetIdProto
};

inline constexpr std::uint32_t max_number = 25;

using Parts = std::array<const Part*, max_number + 1>;

// By message and field number.
inline constexpr auto parts = [] {
  std::array<Parts, static_cast<std::size_t>(Message::Function) + 1> all{};
  for (const Part& part : schema) all[static_cast<std::size_t>(part.of)][part.number] = &part;
  return all;
}();

// Null for a field that holds nothing to look into, or is not in the schema.
constexpr const Part* part_of(Message message, std::uint32_t number) {
  return number <= max_number ? parts[static_cast<std::size_t>(message)][number] : nullptr;
}

}  // namespace HalconCpp::detail::onnx

#endif
