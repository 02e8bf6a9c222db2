// Creating operators: how tests, samples and benchmarks make their data. Programs that only open files do not need
// them. Conventions as in HalconCpp.h.
#ifndef HALCONCPP_HALCONCREATE_H
#define HALCONCPP_HALCONCREATE_H

#include "HalconCpp.h"

namespace HalconCpp {

// Dictionaries. Setting an existing key replaces its value in place.
HALCONCPP_API void CreateDict(HTuple* dict);
HALCONCPP_API void SetDictTuple(const HTuple& dict, const HTuple& key, const HTuple& tuple);
HALCONCPP_API void SetDictObject(const HObject& object, const HTuple& dict, const HTuple& key);

// A matrix of rows x columns; `value` is one number for all elements or all elements row by row.
HALCONCPP_API void CreateMatrix(const HTuple& rows, const HTuple& columns, const HTuple& value, HTuple* matrix);

// Images. The pixels at `pointer` are copied, row by row, in the type's own size.
HALCONCPP_API void GenImageConst(HObject* image, const HTuple& type, const HTuple& width, const HTuple& height);
HALCONCPP_API void GenImage1(HObject* image, const HTuple& type, const HTuple& width, const HTuple& height,
                             const void* pointer);
// The channels of the operands, one after the other; types and sizes must agree. The domain is the intersection.
HALCONCPP_API void Compose2(const HObject& c1, const HObject& c2, HObject* image);
HALCONCPP_API void Compose3(const HObject& c1, const HObject& c2, const HObject& c3, HObject* image);
HALCONCPP_API void AppendChannel(const HObject& multi, const HObject& image, HObject* result);
// Channel 1..n of an image.
HALCONCPP_API void AccessChannel(const HObject& multi, HObject* image, const HTuple& channel);
HALCONCPP_API void ReduceDomain(const HObject& image, const HObject& region, HObject* reduced);

// Regions. Runs may come in any order and overlap; the region is their union.
HALCONCPP_API void GenRectangle1(HObject* rectangle, const HTuple& row1, const HTuple& column1, const HTuple& row2,
                                 const HTuple& column2);
HALCONCPP_API void GenCircle(HObject* circle, const HTuple& row, const HTuple& column, const HTuple& radius);
HALCONCPP_API void GenRegionRuns(HObject* region, const HTuple& row, const HTuple& column_begin,
                                 const HTuple& column_end);
HALCONCPP_API void GenEmptyRegion(HObject* region);

HALCONCPP_API void GenEmptyObj(HObject* object);

// XLD. Row and column tuples of equal length.
HALCONCPP_API void GenContourPolygonXld(HObject* contour, const HTuple& row, const HTuple& col);
HALCONCPP_API void GenPolygonXld(HObject* polygon, const HTuple& row, const HTuple& col);
HALCONCPP_API void GenParallelsXld(HObject* parallels, const HTuple& row1, const HTuple& col1, const HTuple& row2,
                                   const HTuple& col2);

// 3D models. Coordinate tuples of equal length; a sphere is a model of primitive type without points.
HALCONCPP_API void GenObjectModel3dFromPoints(const HTuple& x, const HTuple& y, const HTuple& z, HTuple* model);
HALCONCPP_API void GenSphereObjectModel3d(const HTuple& x, const HTuple& y, const HTuple& z, const HTuple& radius,
                                          HTuple* model);
// The built-in container, whatever the extension.
HALCONCPP_API void WriteObjectModel3d(const HTuple& model, const HTuple& file);

// A deep-learning model whose generic entries are those of the dictionary.
HALCONCPP_API void CreateDlModel(const HTuple& dict, HTuple* model);
HALCONCPP_API void WriteDlModel(const HTuple& model, const HTuple& file);

}  // namespace HalconCpp

#endif
