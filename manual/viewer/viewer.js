// SPDX-License-Identifier: Apache-2.0
// Lets the surfaces of the manual be turned: each picture with a mesh gets a canvas in its place, where the
// browser can draw one. Without it the still picture stays.
import {
    AmbientLight, Box3, BufferAttribute, BufferGeometry, Color, DirectionalLight, DoubleSide, LineBasicMaterial,
    LineSegments, Mesh, MeshLambertMaterial, OrthographicCamera, Scene, Sphere, WebGLRenderer, EdgesGeometry,
} from "three";
import {OrbitControls} from "three/examples/jsm/controls/OrbitControls.js";

// Triangles or lines: `corners` points for each colour.
function geometryOf(mesh, corners) {
    const geometry = new BufferGeometry();
    const colours = new Float32Array(mesh.positions.length);
    mesh.colours.forEach((name, t) => {
        const c = new Color(name);
        for (let k = 0; k < corners; ++k) c.toArray(colours, 3 * (corners * t + k));
    });
    geometry.setAttribute("position", new BufferAttribute(new Float32Array(mesh.positions), 3));
    geometry.setAttribute("color", new BufferAttribute(colours, 3));
    if (corners === 3) geometry.computeVertexNormals();
    return geometry;
}

// The bar that says what the colours mean, in words and colours of the page.
function legendOf({colours, low, high, meaning}) {
    const legend = document.createElement("div");
    legend.className = "legend";
    const bar = document.createElement("span");
    bar.className = "bar";
    bar.style.background = `linear-gradient(to right, ${colours.join(", ")})`;
    const words = document.createElement("span");
    words.textContent = `${low} to ${high}: ${meaning}`;
    legend.append(bar, words);
    return legend;
}

function show(figure) {
    const mesh = (window.tessel2dMeshes || {})[figure.dataset.mesh];
    const still = figure.querySelector("img");
    if (!mesh || !still) return;
    let renderer;
    try {
        renderer = new WebGLRenderer({antialias: true, alpha: true, preserveDrawingBuffer: true});
    } catch (unavailable) {
        return;
    }
    const scene = new Scene();
    const around = new Box3();
    for (const part of mesh.parts) {
        const geometry = geometryOf(part, 3);
        const see_through = part.opacity < 1;
        const surface = new Mesh(geometry, new MeshLambertMaterial({
            vertexColors: true, side: DoubleSide, transparent: see_through, opacity: part.opacity,
            depthWrite: !see_through,
        }));
        scene.add(surface);
        around.expandByObject(surface);
        scene.add(new LineSegments(new EdgesGeometry(geometry, 0.1),
                                   new LineBasicMaterial({color: 0x22303c, transparent: true, opacity: 0.35})));
    }
    if (mesh.lines.positions.length > 0)
        scene.add(new LineSegments(geometryOf(mesh.lines, 2), new LineBasicMaterial({vertexColors: true})));
    const {center, radius} = around.getBoundingSphere(new Sphere());
    scene.add(new AmbientLight(0xffffff, 1.6));
    const camera = new OrthographicCamera(-1.3 * radius, 1.3 * radius, radius, -radius, 0, 8 * radius);
    camera.up.set(0, 0, 1);
    camera.position.set(center.x + 2 * radius, center.y - 3 * radius, center.z + 1.8 * radius);
    const lamp = new DirectionalLight(0xffffff, 1.8);
    camera.add(lamp);
    lamp.position.set(-radius, 2 * radius, 2 * radius);
    scene.add(camera);

    const canvas = renderer.domElement;
    canvas.setAttribute("role", "img");
    canvas.setAttribute("aria-label", still.alt + " Arrow keys turn it.");
    canvas.tabIndex = 0;
    still.replaceWith(canvas);
    const caption = document.createElement("figcaption");
    caption.textContent = "Drag or use the arrow keys to turn it.";
    if (mesh.legend) figure.append(legendOf(mesh.legend));
    figure.append(caption);

    const controls = new OrbitControls(camera, canvas);
    controls.target.copy(center);
    controls.enableZoom = false;
    controls.enablePan = false;
    const draw = () => {
        const width = canvas.parentElement.clientWidth - 16;
        renderer.setPixelRatio(window.devicePixelRatio);
        renderer.setSize(width, width / 1.3, false);
        renderer.render(scene, camera);
    };
    controls.addEventListener("change", draw);
    canvas.addEventListener("keydown", event => {
        const turn = {ArrowLeft: [-0.15, 0], ArrowRight: [0.15, 0], ArrowUp: [0, -0.1], ArrowDown: [0, 0.1]}[event.key];
        if (!turn) return;
        event.preventDefault();
        const way = camera.position.clone().sub(center);
        way.applyAxisAngle(camera.up, turn[0]);
        const flat = Math.hypot(way.x, way.y);
        const height = Math.min(1.4, Math.max(-1.4, Math.atan2(way.z, flat) - turn[1]));
        const length = way.length();
        way.set(way.x / flat * Math.cos(height), way.y / flat * Math.cos(height), Math.sin(height)).multiplyScalar(length);
        camera.position.copy(center).add(way);
        controls.update();
        draw();
    });
    window.addEventListener("resize", draw);
    controls.update();
    draw();
}

document.querySelectorAll("figure[data-mesh]").forEach(show);
