using System;
using System.Runtime.InteropServices;

namespace Quovel.Adapter
{
    /// <summary>The exported functions. Texts are UTF-16 on every system. "quovel_adapter_2411" becomes the file's name by
    /// the rules of the system: quovel_adapter_2411.dll, libquovel_adapter_2411.so.</summary>
    internal static class NativeMethods
    {
        private const string Library = "quovel_adapter_2411";

        [StructLayout(LayoutKind.Sequential)]
        internal struct ParseOption
        {
            public int Key;
            public int ValueType;
            public IntPtr StringValue;
            public long IntValue;
            public double RealValue;
        }

        [DllImport(Library)]
        internal static extern ReaderHandle qv_reader_create();

        [DllImport(Library)]
        internal static extern void qv_reader_destroy(IntPtr reader);

        [DllImport(Library)]
        internal static extern IntPtr qv_reader_last_error(ReaderHandle reader);

        [DllImport(Library, CharSet = CharSet.Unicode)]
        internal static extern IntPtr qv_reader_parse_file_with_options(
            ReaderHandle reader, string path, [In] ParseOption[] options, int count);

        [DllImport(Library, CharSet = CharSet.Unicode)]
        internal static extern IntPtr qv_reader_parse_object_file(ReaderHandle reader, string path);

        [DllImport(Library, CharSet = CharSet.Unicode)]
        internal static extern IntPtr qv_reader_parse_object_model_3d_file(ReaderHandle reader, string path);

        [DllImport(Library, CharSet = CharSet.Unicode)]
        internal static extern IntPtr qv_reader_parse_dl_model_file(ReaderHandle reader, string path);

        [DllImport(Library)]
        internal static extern IntPtr qv_node_label(IntPtr node);

        [DllImport(Library)]
        internal static extern uint qv_node_kind(IntPtr node);

        [DllImport(Library)]
        internal static extern IntPtr qv_node_type_label(IntPtr node);

        [DllImport(Library)]
        internal static extern IntPtr qv_node_value_summary(IntPtr node);

        [DllImport(Library)]
        internal static extern uint qv_node_path_segment_kind(IntPtr node);

        [DllImport(Library)]
        internal static extern uint qv_node_path_index(IntPtr node);

        [DllImport(Library)]
        internal static extern uint qv_node_total_count(IntPtr node);

        [DllImport(Library)]
        internal static extern int qv_node_truncated(IntPtr node);

        [DllImport(Library)]
        internal static extern IntPtr qv_node_object_class(IntPtr node);

        [DllImport(Library)]
        internal static extern int qv_node_is_image(IntPtr node);

        [DllImport(Library)]
        internal static extern uint qv_node_object_count(IntPtr node);

        [DllImport(Library)]
        internal static extern uint qv_node_detail_entry_count(IntPtr node);

        [DllImport(Library)]
        internal static extern long qv_node_value_count(IntPtr node);

        [DllImport(Library)]
        internal static extern uint qv_node_value_type_at(IntPtr node, int index);

        [DllImport(Library)]
        internal static extern IntPtr qv_node_value_string_at(IntPtr node, int index);

        [DllImport(Library)]
        internal static extern long qv_node_value_int_at(IntPtr node, int index);

        [DllImport(Library)]
        internal static extern double qv_node_value_real_at(IntPtr node, int index);

        [DllImport(Library)]
        internal static extern long qv_node_detail_line_count(IntPtr node);

        [DllImport(Library)]
        internal static extern IntPtr qv_node_detail_line_at(IntPtr node, int index);

        [DllImport(Library)]
        internal static extern long qv_node_child_count(IntPtr node);

        [DllImport(Library)]
        internal static extern IntPtr qv_node_child_at(IntPtr node, int index);

        [DllImport(Library)]
        internal static extern IntPtr qv_node_full_value_text(ReaderHandle reader, IntPtr node);

        [DllImport(Library)]
        internal static extern int qv_node_image_channel_count(ReaderHandle reader, IntPtr node, int index);

        [DllImport(Library)]
        internal static extern int qv_extract_image(ReaderHandle reader, IntPtr node, int index, out uint width,
            out uint height, out uint stride, out uint format, out IntPtr buffer);

        [DllImport(Library)]
        internal static extern int qv_extract_contour_points(
            ReaderHandle reader, IntPtr node, int index, out IntPtr rows, out IntPtr columns, out uint count);

        [DllImport(Library)]
        internal static extern int qv_extract_polygon_points(
            ReaderHandle reader, IntPtr node, int index, out IntPtr rows, out IntPtr columns, out uint count);

        [DllImport(Library)]
        internal static extern int qv_extract_parallel_lines(ReaderHandle reader, IntPtr node, int index,
            out IntPtr rows1, out IntPtr columns1, out uint count1, out IntPtr rows2, out IntPtr columns2,
            out uint count2);

        [DllImport(Library)]
        internal static extern int qv_extract_region_runs(ReaderHandle reader, IntPtr node, int index,
            out IntPtr rows, out IntPtr begins, out IntPtr ends, out uint count);

        [DllImport(Library)]
        internal static extern void qv_free_buffer(IntPtr buffer);

        [DllImport(Library, CharSet = CharSet.Unicode)]
        internal static extern int qv_save_object_as(ReaderHandle reader, IntPtr node, string path);

        [DllImport(Library, CharSet = CharSet.Unicode)]
        internal static extern int qv_save_objects_as(ReaderHandle reader, IntPtr[] nodes, int count, string path);

        [DllImport(Library, CharSet = CharSet.Unicode)]
        internal static extern int qv_reader_convert_dict_file(
            ReaderHandle reader, string inputPath, string outputPath, int lenient);

        [DllImport(Library)]
        internal static extern IntPtr qv_adapter_halcon_version();

        internal static string Text(IntPtr units)
        {
            return Marshal.PtrToStringUni(units) ?? "";
        }
    }

    /// <summary>Owns one native Reader. It is never released while a call that was given it still runs.</summary>
    internal sealed class ReaderHandle : SafeHandle
    {
        private ReaderHandle() : base(IntPtr.Zero, true)
        {
        }

        public override bool IsInvalid
        {
            get { return handle == IntPtr.Zero; }
        }

        protected override bool ReleaseHandle()
        {
            NativeMethods.qv_reader_destroy(handle);
            return true;
        }
    }
}
