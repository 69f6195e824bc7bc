-- A shop that sells outdoor gear: what it has, who buys it, what is on its way.
PRAGMA foreign_keys = ON;
BEGIN;

CREATE TABLE countries (
  code TEXT PRIMARY KEY,
  name TEXT NOT NULL
) WITHOUT ROWID;

CREATE TABLE customers (
  id INTEGER PRIMARY KEY,
  name TEXT NOT NULL,
  email TEXT UNIQUE,
  country_code TEXT REFERENCES countries,
  since DATE NOT NULL
);

CREATE TABLE addresses (
  customer_id INTEGER NOT NULL REFERENCES customers (id),
  kind TEXT NOT NULL CHECK (kind IN ('billing', 'shipping')),
  street TEXT NOT NULL,
  city TEXT NOT NULL,
  country_code TEXT NOT NULL REFERENCES countries (code),
  PRIMARY KEY (customer_id, kind)
);

CREATE TABLE employees (
  id INTEGER PRIMARY KEY,
  name TEXT NOT NULL,
  job TEXT NOT NULL,
  manager_id INTEGER REFERENCES employees (id)
);

CREATE TABLE suppliers (
  id INTEGER PRIMARY KEY,
  name TEXT NOT NULL,
  country_code TEXT NOT NULL REFERENCES countries (code)
);

CREATE TABLE categories (
  id INTEGER PRIMARY KEY,
  name TEXT NOT NULL,
  parent_id INTEGER REFERENCES categories (id)
);

CREATE TABLE products (
  id INTEGER PRIMARY KEY,
  name TEXT NOT NULL,
  category_id INTEGER NOT NULL REFERENCES categories (id),
  supplier_id INTEGER NOT NULL REFERENCES suppliers (id),
  price DECIMAL(10, 2) NOT NULL,
  discontinued BOOLEAN NOT NULL DEFAULT 0
);

CREATE TABLE warehouses (
  id INTEGER PRIMARY KEY,
  city TEXT NOT NULL
);

CREATE TABLE stock (
  warehouse_id INTEGER NOT NULL REFERENCES warehouses (id),
  product_id INTEGER NOT NULL REFERENCES products (id),
  quantity INTEGER NOT NULL,
  PRIMARY KEY (warehouse_id, product_id)
);

CREATE TABLE orders (
  id INTEGER PRIMARY KEY,
  customer_id INTEGER NOT NULL REFERENCES customers (id),
  shipping_kind TEXT NOT NULL DEFAULT 'shipping',
  employee_id INTEGER REFERENCES employees (id),
  status TEXT NOT NULL CHECK (status IN ('open', 'shipped', 'cancelled')),
  ordered_at TIMESTAMP NOT NULL,
  FOREIGN KEY (customer_id, shipping_kind) REFERENCES addresses (customer_id, kind)
);

CREATE TABLE order_items (
  order_id INTEGER NOT NULL REFERENCES orders (id),
  line INTEGER NOT NULL,
  product_id INTEGER NOT NULL REFERENCES products (id),
  quantity INTEGER NOT NULL,
  unit_price DECIMAL(10, 2) NOT NULL,
  PRIMARY KEY (order_id, line)
);

CREATE TABLE shipments (
  id INTEGER PRIMARY KEY,
  warehouse_id INTEGER NOT NULL REFERENCES warehouses (id),
  shipped_at TIMESTAMP NOT NULL,
  carrier TEXT NOT NULL
);

CREATE TABLE shipment_items (
  shipment_id INTEGER NOT NULL REFERENCES shipments (id),
  order_id INTEGER NOT NULL,
  line INTEGER NOT NULL,
  quantity INTEGER NOT NULL,
  PRIMARY KEY (shipment_id, order_id, line),
  FOREIGN KEY (order_id, line) REFERENCES order_items (order_id, line)
);

CREATE TABLE reviews (
  customer_id INTEGER NOT NULL REFERENCES customers (id),
  product_id INTEGER NOT NULL REFERENCES products (id),
  stars INTEGER NOT NULL CHECK (stars BETWEEN 1 AND 5),
  comment TEXT,
  PRIMARY KEY (customer_id, product_id)
);

CREATE INDEX orders_by_customer ON orders (customer_id);
CREATE INDEX items_by_product ON order_items (product_id);

CREATE VIEW open_orders AS
SELECT o.id, o.ordered_at, c.name AS customer, SUM(i.quantity * i.unit_price) AS total
FROM orders AS o
JOIN customers AS c ON c.id = o.customer_id
JOIN order_items AS i ON i.order_id = o.id
WHERE o.status = 'open'
GROUP BY o.id;

CREATE VIEW stock_levels AS
SELECT p.id AS product_id, p.name AS product, COALESCE(SUM(s.quantity), 0) AS quantity
FROM products AS p
LEFT JOIN stock AS s ON s.product_id = p.id
GROUP BY p.id;

CREATE VIEW revenue_by_month AS
SELECT strftime('%Y-%m', o.ordered_at) AS month, SUM(i.quantity * i.unit_price) AS revenue
FROM orders AS o
JOIN order_items AS i ON i.order_id = o.id
WHERE o.status <> 'cancelled'
GROUP BY month;

INSERT INTO countries VALUES
  ('AT', 'Austria'), ('CH', 'Switzerland'), ('DE', 'Germany'), ('FR', 'France'), ('NO', 'Norway'), ('PT', 'Portugal');

INSERT INTO customers VALUES
  (1, 'Anna Berger', 'anna.berger@mail.example', 'AT', '2023-02-11'),
  (2, 'Bruno Keller', 'bruno@keller.example', 'CH', '2023-03-02'),
  (3, 'Chloé Martin', 'chloe.martin@mail.example', 'FR', '2023-05-19'),
  (4, 'Dag Solberg', 'dag@solberg.example', 'NO', '2023-08-30'),
  (5, 'Eva Lindner', NULL, 'DE', '2023-11-04'),
  (6, 'Filipe Sousa', 'filipe@sousa.example', 'PT', '2024-01-15'),
  (7, 'Greta Vogel', 'greta.vogel@mail.example', 'DE', '2024-04-22'),
  (8, 'Hugo Blanc', 'hugo@blanc.example', 'FR', '2024-09-09');

INSERT INTO addresses VALUES
  (1, 'billing', 'Ringstraße 4', 'Wien', 'AT'), (1, 'shipping', 'Ringstraße 4', 'Wien', 'AT'),
  (2, 'billing', 'Seeweg 12', 'Luzern', 'CH'), (2, 'shipping', 'Bahnhofplatz 1', 'Zürich', 'CH'),
  (3, 'shipping', '8 rue du Port', 'Nantes', 'FR'), (4, 'shipping', 'Fjordgata 3', 'Bergen', 'NO'),
  (5, 'billing', 'Am Markt 7', 'Leipzig', 'DE'), (5, 'shipping', 'Am Markt 7', 'Leipzig', 'DE'),
  (6, 'shipping', 'Rua Nova 21', 'Porto', 'PT'), (7, 'shipping', 'Lindenallee 9', 'Hamburg', 'DE'),
  (8, 'shipping', '14 quai Vert', 'Lyon', 'FR');

INSERT INTO employees VALUES
  (1, 'Ida Holm', 'manager', NULL), (2, 'Jonas Weber', 'sales', 1), (3, 'Klara Huber', 'sales', 1),
  (4, 'Leon Frey', 'trainee', 2);

INSERT INTO suppliers VALUES
  (1, 'Nordlys Tents', 'NO'), (2, 'Alpin Werk', 'AT'), (3, 'Serra Outdoor', 'PT'), (4, 'Trailworks', 'DE');

INSERT INTO categories VALUES
  (1, 'Outdoor', NULL), (2, 'Shelter', 1), (3, 'Tents', 2), (4, 'Cooking', 1), (5, 'Backpacks', 1),
  (6, 'Climbing', 1), (7, 'Ropes', 6);

INSERT INTO products VALUES
  (1, 'Two-person tent', 3, 1, 289.00, 0), (2, 'Four-person tent', 3, 1, 459.00, 0),
  (3, 'Bivouac sack', 2, 1, 119.50, 0), (4, 'Gas stove', 4, 2, 54.90, 0), (5, 'Titanium pot', 4, 2, 39.00, 0),
  (6, 'Day pack 22 l', 5, 3, 84.00, 0), (7, 'Trekking pack 55 l', 5, 3, 179.00, 0),
  (8, 'Rope 60 m', 7, 4, 164.00, 0), (9, 'Harness', 6, 4, 69.90, 0), (10, 'Paper map set', 1, 4, 24.00, 1);

INSERT INTO warehouses VALUES (1, 'Linz'), (2, 'Hamburg');

INSERT INTO stock VALUES
  (1, 1, 14), (1, 2, 3), (1, 4, 40), (1, 5, 22), (1, 8, 6), (1, 9, 0), (2, 1, 5), (2, 3, 18), (2, 6, 31), (2, 7, 9),
  (2, 8, 2);

INSERT INTO orders VALUES
  (1, 1, 'shipping', 2, 'shipped', '2024-10-03 09:12:00'), (2, 2, 'shipping', 2, 'shipped', '2024-10-17 15:40:00'),
  (3, 3, 'shipping', 3, 'cancelled', '2024-11-02 11:05:00'), (4, 4, 'shipping', 3, 'shipped', '2024-11-21 18:27:00'),
  (5, 5, 'billing', NULL, 'shipped', '2024-12-05 08:02:00'), (6, 1, 'shipping', 2, 'shipped', '2024-12-12 20:33:00'),
  (7, 6, 'shipping', 3, 'open', '2025-01-07 13:19:00'), (8, 7, 'shipping', NULL, 'open', '2025-01-09 10:44:00'),
  (9, 2, 'billing', 2, 'open', '2025-01-14 16:58:00'), (10, 8, 'shipping', 4, 'open', '2025-01-15 07:31:00');

INSERT INTO order_items VALUES
  (1, 1, 1, 1, 289.00), (1, 2, 4, 1, 54.90), (2, 1, 8, 2, 159.00), (2, 2, 9, 2, 69.90), (3, 1, 2, 1, 459.00),
  (4, 1, 3, 1, 119.50), (4, 2, 5, 2, 39.00), (5, 1, 6, 1, 84.00), (6, 1, 7, 1, 179.00), (6, 2, 10, 3, 20.00),
  (7, 1, 1, 2, 289.00), (7, 2, 5, 1, 39.00), (8, 1, 9, 4, 69.90), (9, 1, 8, 1, 164.00), (9, 2, 4, 2, 54.90),
  (10, 1, 7, 1, 179.00);

INSERT INTO shipments VALUES
  (1, 1, '2024-10-04 14:00:00', 'Post'), (2, 1, '2024-10-18 09:30:00', 'Courier'),
  (3, 2, '2024-11-22 12:15:00', 'Post'), (4, 2, '2024-12-06 10:00:00', 'Post'), (5, 2, '2024-12-13 16:45:00', 'Courier'),
  (6, 1, '2025-01-08 11:20:00', 'Post');

INSERT INTO shipment_items VALUES
  (1, 1, 1, 1), (1, 1, 2, 1), (2, 2, 1, 2), (2, 2, 2, 2), (3, 4, 1, 1), (3, 4, 2, 2), (4, 5, 1, 1), (5, 6, 1, 1),
  (5, 6, 2, 3), (6, 7, 1, 1);

INSERT INTO reviews VALUES
  (1, 1, 5, 'Dry in any rain.'), (1, 4, 4, NULL), (2, 8, 5, 'Handles well.'), (2, 9, 3, 'Runs small.'),
  (4, 3, 4, NULL), (5, 6, 5, 'Goes everywhere with me.'), (4, 5, 2, 'The lid does not fit.');

COMMIT;
