using System;
using System.Runtime.InteropServices;

namespace Quovel.Adapter
{
    /// <summary>How pixels are laid out.</summary>
    public enum PixelFormat
    {
        /// <summary>One byte per pixel.</summary>
        Gray8 = 0,

        /// <summary>Blue, green, red.</summary>
        Bgr24 = 1,

        /// <summary>Blue, green, red, alpha.</summary>
        Bgra32 = 2
    }

    /// <summary>The pixels of one image: Height rows of Width pixels, Stride bytes apart.</summary>
    public sealed class Pixels
    {
        internal Pixels(int width, int height, int stride, PixelFormat format, byte[] bytes)
        {
            Width = width;
            Height = height;
            Stride = stride;
            Format = format;
            Bytes = bytes;
        }

        /// <summary>In pixels.</summary>
        public int Width { get; private set; }

        /// <summary>In pixels.</summary>
        public int Height { get; private set; }

        /// <summary>From one row to the next, in bytes.</summary>
        public int Stride { get; private set; }

        /// <summary>How pixels are laid out.</summary>
        public PixelFormat Format { get; private set; }

        /// <summary>1, 3 or 4.</summary>
        public int BytesPerPixel
        {
            get { return Format == PixelFormat.Gray8 ? 1 : Format == PixelFormat.Bgr24 ? 3 : 4; }
        }

        /// <summary>Stride * Height bytes.</summary>
        public byte[] Bytes { get; private set; }

        /// <summary>The bytes of one row, without what lies between the rows.</summary>
        public ArraySegment<byte> Row(int row)
        {
            if (row < 0 || row >= Height)
                throw new ArgumentOutOfRangeException("row");
            return new ArraySegment<byte>(Bytes, row * Stride, Width * BytesPerPixel);
        }
    }

    /// <summary>Points in pixels; (0, 0) is the middle of the upper left pixel.</summary>
    public sealed class Points
    {
        internal Points(double[] rows, double[] columns)
        {
            Rows = rows;
            Columns = columns;
        }

        /// <summary>One per point.</summary>
        public double[] Rows { get; private set; }

        /// <summary>One per point.</summary>
        public double[] Columns { get; private set; }
    }

    /// <summary>The horizontal runs of a region.</summary>
    public sealed class Runs
    {
        internal Runs(int[] rows, int[] begins, int[] ends)
        {
            Rows = rows;
            ColumnBegins = begins;
            ColumnEnds = ends;
        }

        /// <summary>One per run.</summary>
        public int[] Rows { get; private set; }

        /// <summary>The first column of each run.</summary>
        public int[] ColumnBegins { get; private set; }

        /// <summary>The last column of each run, which is part of it.</summary>
        public int[] ColumnEnds { get; private set; }
    }

    /// <summary>Pixels and geometry of object nodes; `index` counts the objects of the node from 0. What is extracted is
    /// copied: it belongs to the caller and outlives the reader.</summary>
    public static class Extraction
    {
        private delegate int PointCall(
            ReaderHandle reader, IntPtr node, int index, out IntPtr rows, out IntPtr columns, out uint count);

        /// <summary>The number of channels of an image as stored.</summary>
        public static int ChannelCount(this Node node, int index = 0)
        {
            int count = NativeMethods.qv_node_image_channel_count(node.Reader.Handle, node.Pointer, index);
            if (count < 0)
                throw node.Reader.Failure("the node holds no image with this index");
            return count;
        }

        /// <summary>The pixels of an image, 8 bits per channel.</summary>
        public static Pixels Pixels(this Node node, int index = 0)
        {
            uint width, height, stride, format;
            IntPtr buffer;
            if (NativeMethods.qv_extract_image(node.Reader.Handle, node.Pointer, index, out width, out height,
                    out stride, out format, out buffer) == 0)
                throw node.Reader.Failure("the node holds no image with this index, or none of 1, 3 or 4 channels");
            try
            {
                var bytes = new byte[checked((long)stride * height)];
                Marshal.Copy(buffer, bytes, 0, bytes.Length);
                return new Pixels(checked((int)width), checked((int)height), checked((int)stride), (PixelFormat)format,
                    bytes);
            }
            finally
            {
                NativeMethods.qv_free_buffer(buffer);
            }
        }

        /// <summary>The points of an XLD contour.</summary>
        public static Points Contour(this Node node, int index = 0)
        {
            return PointList(node, index, NativeMethods.qv_extract_contour_points);
        }

        /// <summary>The control points of an XLD polygon.</summary>
        public static Points Polygon(this Node node, int index = 0)
        {
            return PointList(node, index, NativeMethods.qv_extract_polygon_points);
        }

        /// <summary>The two lines of a pair of XLD parallels.</summary>
        public static Points[] Parallels(this Node node, int index = 0)
        {
            IntPtr rows1, columns1, rows2, columns2;
            uint count1, count2;
            if (NativeMethods.qv_extract_parallel_lines(node.Reader.Handle, node.Pointer, index, out rows1,
                    out columns1, out count1, out rows2, out columns2, out count2) == 0)
                throw node.Reader.Failure("the node holds no parallels with this index");
            try
            {
                return new[]
                {
                    new Points(Doubles(rows1, count1), Doubles(columns1, count1)),
                    new Points(Doubles(rows2, count2), Doubles(columns2, count2))
                };
            }
            finally
            {
                Free(rows1, columns1, rows2, columns2);
            }
        }

        /// <summary>The runs of a region.</summary>
        public static Runs Region(this Node node, int index = 0)
        {
            IntPtr rows, begins, ends;
            uint count;
            if (NativeMethods.qv_extract_region_runs(
                    node.Reader.Handle, node.Pointer, index, out rows, out begins, out ends, out count) == 0)
                throw node.Reader.Failure("the node holds no region with this index");
            try
            {
                return new Runs(Ints(rows, count), Ints(begins, count), Ints(ends, count));
            }
            finally
            {
                Free(rows, begins, ends);
            }
        }

        private static Points PointList(Node node, int index, PointCall call)
        {
            IntPtr rows, columns;
            uint count;
            if (call(node.Reader.Handle, node.Pointer, index, out rows, out columns, out count) == 0)
                throw node.Reader.Failure("the node holds no such object with this index");
            try
            {
                return new Points(Doubles(rows, count), Doubles(columns, count));
            }
            finally
            {
                Free(rows, columns);
            }
        }

        private static double[] Doubles(IntPtr buffer, uint count)
        {
            var values = new double[count];
            if (count > 0)
                Marshal.Copy(buffer, values, 0, values.Length);
            return values;
        }

        private static int[] Ints(IntPtr buffer, uint count)
        {
            var values = new int[count];
            if (count > 0)
                Marshal.Copy(buffer, values, 0, values.Length);
            return values;
        }

        private static void Free(params IntPtr[] buffers)
        {
            foreach (IntPtr buffer in buffers)
                NativeMethods.qv_free_buffer(buffer);
        }
    }
}
