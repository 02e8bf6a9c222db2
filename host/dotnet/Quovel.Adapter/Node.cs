using System;
using System.Collections;
using System.Collections.Generic;

namespace Quovel.Adapter
{
    /// <summary>What a node stands for.</summary>
    public enum NodeKind
    {
        /// <summary>A dictionary, a handle with keys, or the root of an object file.</summary>
        Dict = 0,

        /// <summary>A tuple with handles in it.</summary>
        Array = 1,

        /// <summary>A leaf with values or a text.</summary>
        Value = 2,

        /// <summary>Iconic objects, or a handle shown as a whole.</summary>
        Object = 3
    }

    /// <summary>
    /// One node of a tree. It reads from the library when it is asked, and its children are made when they are asked
    /// for. Enumerating a node gives its children.
    /// </summary>
    public sealed class Node : IEnumerable<Node>
    {
        private readonly IntPtr pointer;
        private readonly int generation;

        internal Node(Reader reader, IntPtr pointer)
        {
            Reader = reader;
            this.pointer = pointer;
            generation = reader.Generation;
        }

        /// <summary>The reader that owns the tree.</summary>
        public Reader Reader { get; private set; }

        /// <summary>The dictionary key, "[i]" of a tuple element, or a name. Empty for a root.</summary>
        public string Label
        {
            get { return Text(NativeMethods.qv_node_label); }
        }

        /// <summary>What the node stands for.</summary>
        public NodeKind Kind
        {
            get { return (NodeKind)Read(NativeMethods.qv_node_kind); }
        }

        /// <summary>A short type text: "dict", "integer", "real[5]", "image", "&lt;error&gt;", ...</summary>
        public string TypeLabel
        {
            get { return Text(NativeMethods.qv_node_type_label); }
        }

        /// <summary>One line: a key count, values, the description of an object, an error's text.</summary>
        public string ValueSummary
        {
            get { return Text(NativeMethods.qv_node_value_summary); }
        }

        /// <summary>The 0-based position in the parent of a node that is addressed by index; null when it is addressed by
        /// its label.</summary>
        public long? PathIndex
        {
            get
            {
                return Read(NativeMethods.qv_node_path_segment_kind) == 0
                    ? (long?)null
                    : Read(NativeMethods.qv_node_path_index);
            }
        }

        /// <summary>The number of values that the node stands for, however many were kept.</summary>
        public long TotalCount
        {
            get { return Read(NativeMethods.qv_node_total_count); }
        }

        /// <summary>Whether only the first 1000 values were kept.</summary>
        public bool Truncated
        {
            get { return Read(NativeMethods.qv_node_truncated) != 0; }
        }

        /// <summary>"image", "region", "xld_cont", ..., or the type of a handle shown as a whole.</summary>
        public string ObjectClass
        {
            get { return Text(NativeMethods.qv_node_object_class); }
        }

        /// <summary>Whether the first of the node's objects is an image.</summary>
        public bool IsImage
        {
            get { return Read(NativeMethods.qv_node_is_image) != 0; }
        }

        /// <summary>The number of iconic objects; 1 for nodes that hold none.</summary>
        public long ObjectCount
        {
            get { return Read(NativeMethods.qv_node_object_count); }
        }

        /// <summary>How many objects the detail lines describe.</summary>
        public long DetailEntryCount
        {
            get { return Read(NativeMethods.qv_node_detail_entry_count); }
        }

        /// <summary>The values of a value node, at most 1000: string, long or double.</summary>
        public object[] Values
        {
            get
            {
                var values = new object[checked((int)Read(NativeMethods.qv_node_value_count))];
                for (int i = 0; i < values.Length; ++i)
                    values[i] = Value(i);
                return values;
            }
        }

        /// <summary>All values of a value node as one text, however many.</summary>
        public string FullValueText
        {
            get { return NativeMethods.Text(NativeMethods.qv_node_full_value_text(Reader.Handle, Pointer)); }
        }

        /// <summary>One line per object of a list, one per row of a matrix, ...</summary>
        public string[] DetailLines
        {
            get
            {
                var lines = new string[checked((int)Read(NativeMethods.qv_node_detail_line_count))];
                for (int i = 0; i < lines.Length; ++i)
                    lines[i] = NativeMethods.Text(NativeMethods.qv_node_detail_line_at(Pointer, i));
                GC.KeepAlive(this);
                return lines;
            }
        }

        /// <summary>The number of children.</summary>
        public int ChildCount
        {
            get { return checked((int)Read(NativeMethods.qv_node_child_count)); }
        }

        /// <summary>The children, in the order of the file, each made when the enumeration comes to it.</summary>
        public IEnumerable<Node> Children
        {
            get
            {
                int count = ChildCount;
                for (int i = 0; i < count; ++i)
                    yield return this[i];
            }
        }

        /// <summary>The child at a 0-based position.</summary>
        public Node this[int index]
        {
            get
            {
                IntPtr child = NativeMethods.qv_node_child_at(Pointer, index);
                if (child == IntPtr.Zero)
                    throw new ArgumentOutOfRangeException("index");
                return new Node(Reader, child);
            }
        }

        /// <summary>The first child with this label.</summary>
        public Node this[string label]
        {
            get
            {
                foreach (Node child in Children)
                    if (child.Label == label)
                        return child;
                throw new KeyNotFoundException("no child '" + label + "'");
            }
        }

        internal IntPtr Pointer
        {
            get
            {
                if (generation != Reader.Generation)
                    throw new ObjectDisposedException("Node", "the reader has opened another file, or is disposed of");
                return pointer;
            }
        }

        /// <summary>Writes the node's objects; the path's extension decides on the format.</summary>
        public void Save(string path)
        {
            Reader.Check(path, "path");
            if (NativeMethods.qv_save_object_as(Reader.Handle, Pointer, path) == 0)
                throw Reader.Failure("this node holds no objects that can be saved");
        }

        /// <inheritdoc/>
        public IEnumerator<Node> GetEnumerator()
        {
            return Children.GetEnumerator();
        }

        IEnumerator IEnumerable.GetEnumerator()
        {
            return GetEnumerator();
        }

        /// <summary>The label, the type and the one-line summary.</summary>
        public override string ToString()
        {
            return (Label + "  " + TypeLabel + "  " + ValueSummary).Trim();
        }

        private object Value(int index)
        {
            try
            {
                switch (NativeMethods.qv_node_value_type_at(Pointer, index))
                {
                    case 1:
                        return NativeMethods.qv_node_value_int_at(Pointer, index);
                    case 2:
                        return NativeMethods.qv_node_value_real_at(Pointer, index);
                    default:
                        return NativeMethods.Text(NativeMethods.qv_node_value_string_at(Pointer, index));
                }
            }
            finally
            {
                GC.KeepAlive(this);
            }
        }

        // The reader must not be finalized while the library reads its tree.
        private T Read<T>(Func<IntPtr, T> accessor)
        {
            T value = accessor(Pointer);
            GC.KeepAlive(this);
            return value;
        }

        private string Text(Func<IntPtr, IntPtr> accessor)
        {
            string text = NativeMethods.Text(accessor(Pointer));
            GC.KeepAlive(this);
            return text;
        }
    }
}
