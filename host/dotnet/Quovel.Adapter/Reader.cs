using System;
using System.Collections.Generic;
using System.Runtime.InteropServices;

namespace Quovel.Adapter
{
    /// <summary>A call failed. The message is the library's own where it has one.</summary>
    public sealed class QuovelException : Exception
    {
        /// <summary>Makes one with this message.</summary>
        public QuovelException(string message) : base(message)
        {
        }
    }

    /// <summary>How JSON is read. What is null stays as the library reads it.</summary>
    public sealed class JsonOptions
    {
        /// <summary>What true becomes: a string, a long, an int or a double.</summary>
        public object True { get; set; }

        /// <summary>What false becomes.</summary>
        public object False { get; set; }

        /// <summary>What null becomes.</summary>
        public object Null { get; set; }

        /// <summary>What arrays become: "tuple" or "dict".</summary>
        public string Arrays { get; set; }
    }

    /// <summary>
    /// Opens files, one at a time, and owns the tree of the last one. Use it from one thread at a time. A node of a tree
    /// that has been replaced, or whose reader is disposed of, throws ObjectDisposedException.
    /// </summary>
    public sealed class Reader : IDisposable
    {
        private readonly ReaderHandle handle;

        /// <summary>Makes a reader that holds no tree yet.</summary>
        public Reader()
        {
            handle = NativeMethods.qv_reader_create();
            if (handle.IsInvalid)
                throw new OutOfMemoryException();
        }

        /// <summary>The version of the HALCON that the library runs against, or "unknown".</summary>
        public static string HalconVersion
        {
            get { return NativeMethods.Text(NativeMethods.qv_adapter_halcon_version()); }
        }

        /// <summary>The root of the current tree; null while there is none.</summary>
        public Node Root { get; private set; }

        internal ReaderHandle Handle
        {
            get { return handle; }
        }

        // Grows with each tree: a node knows by it that its own is gone.
        internal int Generation { get; private set; }

        /// <summary>Opens a dictionary file: a HALCON dictionary or JSON.</summary>
        public Node OpenDictionary(string path, JsonOptions options = null)
        {
            Check(path, "path");
            var texts = new List<IntPtr>();
            try
            {
                NativeMethods.ParseOption[] records = Records(options, texts);
                return Opened(NativeMethods.qv_reader_parse_file_with_options(handle, path, records, records.Length));
            }
            finally
            {
                foreach (IntPtr text in texts)
                    Marshal.FreeHGlobal(text);
            }
        }

        /// <summary>Opens an object file, a list of image files, or an image.</summary>
        public Node OpenObjects(string path)
        {
            Check(path, "path");
            return Opened(NativeMethods.qv_reader_parse_object_file(handle, path));
        }

        /// <summary>Opens a 3D object model.</summary>
        public Node OpenObjectModel3D(string path)
        {
            Check(path, "path");
            return Opened(NativeMethods.qv_reader_parse_object_model_3d_file(handle, path));
        }

        /// <summary>Opens a deep-learning model.</summary>
        public Node OpenDeepLearningModel(string path)
        {
            Check(path, "path");
            return Opened(NativeMethods.qv_reader_parse_dl_model_file(handle, path));
        }

        /// <summary>Reads one dictionary file and writes it as another, in the form of the output's extension. Content
        /// that the output cannot hold fails or, with lenient, is left out. The tree stays.</summary>
        public void ConvertDictionary(string inputPath, string outputPath, bool lenient = false)
        {
            Check(inputPath, "inputPath");
            Check(outputPath, "outputPath");
            if (NativeMethods.qv_reader_convert_dict_file(handle, inputPath, outputPath, lenient ? 1 : 0) == 0)
                throw Failure("the file cannot be converted");
        }

        /// <summary>Writes the objects of these nodes, in order, to one object file.</summary>
        public void SaveObjects(IEnumerable<Node> nodes, string path)
        {
            Check(path, "path");
            if (nodes == null)
                throw new ArgumentNullException("nodes");
            var pointers = new List<IntPtr>();
            foreach (Node node in nodes)
            {
                if (node == null || node.Reader != this)
                    throw new ArgumentException("a node is not of this reader", "nodes");
                pointers.Add(node.Pointer);
            }
            if (NativeMethods.qv_save_objects_as(handle, pointers.ToArray(), pointers.Count, path) == 0)
                throw Failure("these nodes hold no objects that can be saved");
        }

        /// <summary>Releases the native reader with its tree.</summary>
        public void Dispose()
        {
            Forget();
            handle.Dispose();
        }

        internal QuovelException Failure(string otherwise)
        {
            string text = NativeMethods.Text(NativeMethods.qv_reader_last_error(handle));
            return new QuovelException(text.Length > 0 ? text : otherwise);
        }

        // The library takes a text up to its first NUL: a path that holds one would open another file.
        internal static void Check(string path, string name)
        {
            if (path == null)
                throw new ArgumentNullException(name);
            if (path.IndexOf('\0') >= 0)
                throw new ArgumentException("a path holds no NUL", name);
        }

        private void Forget()
        {
            ++Generation;
            Root = null;
        }

        private Node Opened(IntPtr root)
        {
            Forget();
            if (root == IntPtr.Zero)
                throw Failure("memory is exhausted");
            Root = new Node(this, root);
            return Root;
        }

        private static NativeMethods.ParseOption[] Records(JsonOptions options, List<IntPtr> texts)
        {
            var records = new List<NativeMethods.ParseOption>();
            if (options == null)
                return records.ToArray();
            object[] values = { options.True, options.False, options.Null, options.Arrays };
            for (int key = 0; key < values.Length; ++key)
                if (values[key] != null)
                    records.Add(Record(key, values[key], texts));
            return records.ToArray();
        }

        private static NativeMethods.ParseOption Record(int key, object value, List<IntPtr> texts)
        {
            var record = new NativeMethods.ParseOption { Key = key };
            if (value is string text)
            {
                record.StringValue = Marshal.StringToHGlobalUni(text);
                texts.Add(record.StringValue);
            }
            else if (value is int || value is long)
            {
                record.ValueType = 1;
                record.IntValue = Convert.ToInt64(value);
            }
            else if (value is double real)
            {
                record.ValueType = 2;
                record.RealValue = real;
            }
            else
            {
                throw new ArgumentException("a JSON option is a string, a long, an int or a double");
            }
            return record;
        }
    }
}
