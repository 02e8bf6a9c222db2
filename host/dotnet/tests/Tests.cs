// The .NET host on the samples: Tests.exe FOLDER. One line per failure, and the counts at the end.
using System;
using System.Collections.Generic;
using System.Globalization;
using System.IO;
using System.Linq;
using Quovel.Adapter;

internal static class Tests
{
    private static string samples;
    private static int passed;
    private static int failed;

    private static int Main(string[] arguments)
    {
        samples = arguments[0];
        Run("every sample opens, and every node can be asked", EverySample);
        Run("a dictionary", Dictionary);
        Run("JSON options", Options);
        Run("texts of any language", Texts);
        Run("pixels", ImagePixels);
        Run("geometry", Geometry);
        Run("saving and converting", Saving);
        Run("failures", Failures);
        Run("the end of nodes", EndOfNodes);
        Run("many readers left to the garbage collector", Finalizers);
        Console.WriteLine(passed + " passed, " + failed + " failed");
        return failed == 0 ? 0 : 1;
    }

    private static void EverySample()
    {
        string[] files = Directory.GetFiles(samples).Where(file => !file.EndsWith(".html")).ToArray();
        Check(files.Length > 10, "samples");
        using (var reader = new Reader())
            foreach (string file in files)
                Check(Count(Open(reader, file)) > 0, file);
    }

    private static int Count(Node node)
    {
        Check(node.ToString().Contains(node.TypeLabel), node.ToString());
        Check(node.Values.Length <= 1000 && node.DetailLines.All(line => line.Length > 0), node.ToString());
        Same(node.ChildCount, node.Count());
        return 1 + node.Sum(child => Count(child));
    }

    private static void Dictionary()
    {
        using (var reader = new Reader())
        {
            Node root = reader.OpenDictionary(Sample("parts.json"));
            Check(ReferenceEquals(root, reader.Root), "root");
            Same("title count names measured profile", string.Join(" ", root.Select(child => child.Label)));
            Same("Washers and coins on a tray", root["title"].Values[0]);
            Same(5L, root["count"].Values[0]);
            Same(30.0, root["measured"]["radii"].Values[1]);
            Same("['M8', 'M6', 'M10']", root["names"].FullValueText);
            Same(NodeKind.Dict, root["measured"].Kind);
            Same("integer[320]", root[4].TypeLabel);
            Same(320L, root[4].TotalCount);
            Check(root["title"].PathIndex == null && !root["title"].Truncated, "title");
        }
    }

    private static void Options()
    {
        InFolder(folder =>
        {
            string file = Path.Combine(folder, "a.json");
            File.WriteAllText(file, "{\"t\": true, \"f\": false, \"n\": null, \"a\": [1, 2]}");
            using (var reader = new Reader())
            {
                var options = new JsonOptions { True = 1, False = "no", Null = 0.5, Arrays = "dict" };
                Node root = reader.OpenDictionary(file, options);
                Same("1 no 0.5", string.Join(" ", root.Take(3).Select(
                    child => Convert.ToString(child.Values[0], CultureInfo.InvariantCulture))));
                Same(2, root["a"].ChildCount);
                Throws<ArgumentException>(() => reader.OpenDictionary(file, new JsonOptions { True = 'c' }), "option");
                Throws<QuovelException>(() => reader.OpenDictionary(file, new JsonOptions { Arrays = "no" }), "convert_json_arrays_to");
            }
        });
    }

    private static void Texts()
    {
        InFolder(folder =>
        {
            string file = Path.Combine(folder, "\u03a9\ud834\udd1e.json");
            string text = string.Concat(Enumerable.Repeat("\u00c4\u0141\ud834\udd1e", 3000));
            File.WriteAllText(file, "{\"\u0100\": \"" + text + "\"}");
            using (var reader = new Reader())
                Same(text, reader.OpenDictionary(file)["\u0100"].Values[0]);
        });
    }

    private static void ImagePixels()
    {
        InFolder(folder =>
        {
            string file = Path.Combine(folder, "image.pgm");
            File.WriteAllText(file, "P5 3 2 255\nabcdef");
            using (var reader = new Reader())
            {
                Node node = reader.OpenObjects(file)[0];
                Check(node.IsImage && node.ObjectClass == "image" && node.ObjectCount == 1, "image");
                Same(1, node.ChannelCount());
                Pixels pixels = node.Pixels();
                Same("3 2 Gray8 1", pixels.Width + " " + pixels.Height + " " + pixels.Format + " " + pixels.BytesPerPixel);
                Same("def", new string(pixels.Row(1).Select(value => (char)value).ToArray()));
                Throws<ArgumentOutOfRangeException>(() => pixels.Row(2), "row");
                Throws<QuovelException>(() => node.Pixels(1), "index");
                Throws<QuovelException>(() => node.Region(), "region");

                Pixels color = reader.OpenDictionary(Sample("parts.hdict"))["image"].Pixels();
                Same("320 240 Bgr24", color.Width + " " + color.Height + " " + color.Format);
                Same(color.Stride * color.Height, color.Bytes.Length);
            }
        });
    }

    private static void Geometry()
    {
        using (var reader = new Reader())
        {
            Node root = reader.OpenObjects(Sample("scene.hobj"));
            Runs runs = root[3].Region();
            Same(3900L, runs.ColumnEnds.Zip(runs.ColumnBegins, (end, begin) => end - begin + 1L).Sum());
            Same(runs.Rows.Length, runs.ColumnBegins.Length);
            Points contour = root[6].Contour();
            Check(contour.Rows.Length == 91 && contour.Columns.Length == 91 && contour.Rows.All(row => row > 0), "contour");
            Same(5, root[12].Polygon().Rows.Length);
            Points[] parallels = root[13].Parallels();
            Same("2 2 2", parallels.Length + " " + parallels[0].Rows.Length + " " + parallels[1].Columns.Length);
            Throws<QuovelException>(() => root[6].Polygon(), "");
        }
    }

    private static void Saving()
    {
        InFolder(folder =>
        {
            string copy = Path.Combine(folder, "copy.hobj"), image = Path.Combine(folder, "image.png");
            string json = Path.Combine(folder, "parts.json"), dict = Path.Combine(folder, "parts.hdict");
            using (var reader = new Reader())
            {
                Node root = reader.OpenObjects(Sample("scene.hobj"));
                reader.SaveObjects(root.Skip(1).Take(3), copy);
                root[0].Save(image);
                using (var other = new Reader())
                {
                    Throws<ArgumentException>(() => other.SaveObjects(root, copy), "reader");
                    Same(3, other.OpenObjects(copy).ChildCount);
                    Same(320, other.OpenObjects(image)[0].Pixels().Width);
                }
                reader.ConvertDictionary(Sample("parts.json"), dict);
                Check(ReferenceEquals(root, reader.Root) && root.ChildCount == 14, "the tree stays");
                Same(5, reader.OpenDictionary(dict).ChildCount);
                Throws<QuovelException>(() => reader.ConvertDictionary(Sample("parts.hdict"), json), "");
                reader.ConvertDictionary(Sample("parts.hdict"), json, true);
                Throws<QuovelException>(() => reader.Root["title"].Save(image), "no objects");
            }
        });
    }

    private static void Failures()
    {
        using (var reader = new Reader())
        {
            Throws<QuovelException>(() => reader.OpenObjects(Sample("missing.png")), "missing.png");
            Check(reader.Root == null, "no tree");
            Throws<ArgumentNullException>(() => reader.OpenObjects(null), "path");
            Throws<ArgumentException>(() => reader.OpenObjects("a\0b"), "NUL");
            Node root = reader.OpenDictionary(Sample("parts.json"));
            Throws<ArgumentOutOfRangeException>(() => root[5].ToString(), "index");
            Throws<ArgumentOutOfRangeException>(() => root[-1].ToString(), "index");
            Throws<KeyNotFoundException>(() => root["no"].ToString(), "'no'");
        }
        Check(Reader.HalconVersion.Length > 0, "version");
    }

    private static void EndOfNodes()
    {
        var reader = new Reader();
        Node first = reader.OpenDictionary(Sample("parts.json"));
        Node child = first["title"];
        Node second = reader.OpenDictionary(Sample("parts.json"));
        Throws<ObjectDisposedException>(() => child.Label.ToString(), "another file");
        Throws<ObjectDisposedException>(() => first.Count(), "another file");
        Same(5, second.ChildCount);
        reader.Dispose();
        reader.Dispose();
        Throws<ObjectDisposedException>(() => second.Label.ToString(), "disposed");
        Throws<ObjectDisposedException>(() => reader.OpenDictionary(Sample("parts.json")), "");
    }

    private static void Finalizers()
    {
        for (int i = 0; i < 200; ++i)
            Same(5, new Reader().OpenDictionary(Sample("parts.json")).ChildCount);
        GC.Collect();
        GC.WaitForPendingFinalizers();
    }

    // ---- What the tests are made of
    private static Node Open(Reader reader, string file)
    {
        switch (Path.GetExtension(file))
        {
            case ".json":
            case ".hdict":
                return reader.OpenDictionary(file);
            case ".om3":
            case ".ply":
            case ".obj":
            case ".stl":
            case ".off":
                return reader.OpenObjectModel3D(file);
            case ".onnx":
            case ".hdl":
                return reader.OpenDeepLearningModel(file);
            default:
                return reader.OpenObjects(file);
        }
    }

    private static string Sample(string name)
    {
        return Path.Combine(samples, name);
    }

    private static void InFolder(Action<string> body)
    {
        string folder = Path.Combine(Path.GetTempPath(), Path.GetRandomFileName());
        Directory.CreateDirectory(folder);
        try
        {
            body(folder);
        }
        finally
        {
            Directory.Delete(folder, true);
        }
    }

    private static void Run(string name, Action body)
    {
        try
        {
            body();
            ++passed;
        }
        catch (Exception failure)
        {
            ++failed;
            Console.WriteLine("FAILED: " + name + ": " + failure);
        }
    }

    private static void Check(bool condition, string what)
    {
        if (!condition)
            throw new Exception(what);
    }

    private static void Same(object expected, object actual)
    {
        Check(expected.Equals(actual), "expected " + expected + ", not " + actual);
    }

    private static void Throws<T>(Action body, string text) where T : Exception
    {
        try
        {
            body();
        }
        catch (T failure)
        {
            Check(failure.Message.Contains(text), "'" + text + "' is not in '" + failure.Message + "'");
            return;
        }
        throw new Exception("expected " + typeof(T).Name);
    }
}
